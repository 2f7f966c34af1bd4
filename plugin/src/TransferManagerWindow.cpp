#include "plugin/src/TransferManagerWindow.h"

namespace Pellion::Web {

TransferManagerWindow::TransferManagerWindow() : Window("transfer-manager") {}

}  // namespace Pellion::Web
