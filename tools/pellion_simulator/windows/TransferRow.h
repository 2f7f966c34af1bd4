#ifndef PELLION_SIMULATOR_WINDOWS_TRANSFER_ROW_H_
#define PELLION_SIMULATOR_WINDOWS_TRANSFER_ROW_H_

#include <gtk/gtk.h>

#include <functional>
#include <string>

#include "tools/pellion_simulator/Transfer.h"

namespace pellion_simulator {

// One transfer in the transfer manager: name, progress, state, and the buttons that open its folder
// and cancel it. Main thread only. Its widgets belong to the container that takes them.
class TransferRow {
 public:
  struct Steps {
    std::function<void(const std::string& directory)> openFolder;
    std::function<void(const std::string& id)> cancel;
  };
  TransferRow(const std::string& id, Steps steps);
  TransferRow(const TransferRow&) = delete;
  TransferRow& operator=(const TransferRow&) = delete;

  GtkWidget* widget() const { return _row; }
  void update(const TransferState& state);

 private:
  static void onOpenFolder(GtkButton*, gpointer self);
  static void onCancel(GtkButton*, gpointer self);

  const std::string _id;
  const Steps _steps;
  std::string _folder;  // empty: it is not on this machine
  GtkWidget* const _row;
  GtkWidget* const _image;
  GtkWidget* const _name;
  GtkWidget* const _bar;
  GtkWidget* const _detail;
  GtkWidget* const _openButton;
  GtkWidget* const _cancelButton;
};

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_WINDOWS_TRANSFER_ROW_H_
