#include "plugin/src/PreferencesWindow.h"

namespace Pellion::Web {

PreferencesWindow::PreferencesWindow() : Window("preferences") {}

}  // namespace Pellion::Web
