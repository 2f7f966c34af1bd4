#ifndef PELLION_SIMULATOR_WINDOWS_TRANSFER_MANAGER_WINDOW_H_
#define PELLION_SIMULATOR_WINDOWS_TRANSFER_MANAGER_WINDOW_H_

#include <gtk/gtk.h>

#include <map>
#include <memory>
#include <string>

#include "tools/pellion_simulator/Settings.h"
#include "tools/pellion_simulator/TransferQueue.h"
#include "tools/pellion_simulator/windows/TransferRow.h"

namespace pellion_simulator {

// The transfers that the queue lists, the newest on top, with their progress. Main thread only. It
// looks at the queue four times a second while it is on screen; closing hides it.
class TransferManagerWindow {
 public:
  // Both are borrowed and must outlive this.
  TransferManagerWindow(TransferQueue* queue, Settings* settings);
  ~TransferManagerWindow();
  TransferManagerWindow(const TransferManagerWindow&) = delete;
  TransferManagerWindow& operator=(const TransferManagerWindow&) = delete;

  void show();

 private:
  static gboolean onTick(gpointer self);
  static void onOpenDownloads(GtkButton*, gpointer self);
  void build();
  void refresh();
  TransferRow* rowFor(const std::string& id);
  void removeForgotten();
  void updateSummary();
  void openFolder(const std::string& directory);

  TransferQueue* const _queue;
  Settings* const _settings;
  GtkWidget* const _window;
  GtkWidget* const _list;
  GtkWidget* const _empty;  // the text in place of an empty list
  GtkWidget* const _summary;
  guint _timer = 0;
  uint64_t _seen = 0;
  std::map<std::string, std::unique_ptr<TransferRow>> _rows;
  std::map<std::string, TransferStatus> _statuses;
};

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_WINDOWS_TRANSFER_MANAGER_WINDOW_H_
