#include "plugin/src/SystemException.h"

namespace Pellion::Web {

SystemException::SystemException(const std::string& message) : std::runtime_error(message) {}

}  // namespace Pellion::Web
