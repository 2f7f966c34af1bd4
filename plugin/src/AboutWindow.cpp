#include "plugin/src/AboutWindow.h"

namespace Pellion::Web {

AboutWindow::AboutWindow() : Window("about") {}

}  // namespace Pellion::Web
