#ifndef PELLION_SIMULATOR_WINDOWS_WINDOWS_H_
#define PELLION_SIMULATOR_WINDOWS_WINDOWS_H_

#include <memory>
#include <string>

#include "tools/pellion_simulator/Settings.h"
#include "tools/pellion_simulator/TransferQueue.h"

namespace pellion_simulator {

class AboutWindow;
class PreferencesWindow;
class TransferManagerWindow;

// The program's windows, each made when it is first asked for. GTK is initialised no earlier:
// without a display everything else works. For the main thread only.
class Windows {
 public:
  // Both are borrowed and must outlive this.
  Windows(TransferQueue* queue, Settings* settings);
  ~Windows();
  Windows(const Windows&) = delete;
  Windows& operator=(const Windows&) = delete;

  // "about", "preferences" or "transfer-manager". Without a display a line in the log is all.
  void show(const std::string& name);
  void close();

 private:
  bool prepareDisplay();

  TransferQueue* const _queue;
  Settings* const _settings;
  bool _prepared = false;
  std::unique_ptr<AboutWindow> _about;
  std::unique_ptr<PreferencesWindow> _preferences;
  std::unique_ptr<TransferManagerWindow> _transferManager;
};

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_WINDOWS_WINDOWS_H_
