#ifndef PLUGIN_SRC_ABOUTWINDOW_H_
#define PLUGIN_SRC_ABOUTWINDOW_H_

#include "plugin/src/Window.h"

namespace Pellion::Web {

// The local application's window about itself.
class AboutWindow : public Window {
 public:
  AboutWindow();
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_ABOUTWINDOW_H_
