#ifndef PLUGIN_SRC_SYSTEMEXCEPTION_H_
#define PLUGIN_SRC_SYSTEMEXCEPTION_H_

#include <stdexcept>
#include <string>

namespace Pellion::Web {

// The operating system refused a thread operation.
class SystemException : public std::runtime_error {
 public:
  explicit SystemException(const std::string& message);
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_SYSTEMEXCEPTION_H_
