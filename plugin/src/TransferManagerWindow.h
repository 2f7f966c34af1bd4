#ifndef PLUGIN_SRC_TRANSFERMANAGERWINDOW_H_
#define PLUGIN_SRC_TRANSFERMANAGERWINDOW_H_

#include "plugin/src/Window.h"

namespace Pellion::Web {

// The local application's window with the list of transfers.
class TransferManagerWindow : public Window {
 public:
  TransferManagerWindow();
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_TRANSFERMANAGERWINDOW_H_
