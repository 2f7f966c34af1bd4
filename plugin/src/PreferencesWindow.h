#ifndef PLUGIN_SRC_PREFERENCESWINDOW_H_
#define PLUGIN_SRC_PREFERENCESWINDOW_H_

#include "plugin/src/Window.h"

namespace Pellion::Web {

// The local application's preferences window.
class PreferencesWindow : public Window {
 public:
  PreferencesWindow();
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_PREFERENCESWINDOW_H_
