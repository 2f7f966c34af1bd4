#ifndef PELLION_SIMULATOR_WINDOWS_PREFERENCES_WINDOW_H_
#define PELLION_SIMULATOR_WINDOWS_PREFERENCES_WINDOW_H_

#include <gtk/gtk.h>

#include "tools/pellion_simulator/Settings.h"
#include "tools/pellion_simulator/TransferQueue.h"

namespace pellion_simulator {

// Where downloads go and how fast everything may be: the limit that holds now, which may be the
// command line's. Main thread only; closing it without saving
// changes nothing.
class PreferencesWindow {
 public:
  // Both are borrowed and must outlive this.
  PreferencesWindow(TransferQueue* queue, Settings* settings);
  ~PreferencesWindow();
  PreferencesWindow(const PreferencesWindow&) = delete;
  PreferencesWindow& operator=(const PreferencesWindow&) = delete;

  // With the settings as they are now.
  void show();

 private:
  static void onResponse(GtkDialog*, gint response, gpointer self);
  static void onLimitToggled(GtkToggleButton*, gpointer self);
  GtkWidget* build();
  bool save();
  // Bytes per second; 0 is no limit.
  int64_t chosenLimit() const;

  TransferQueue* const _queue;
  Settings* const _settings;
  GtkWidget* const _window;
  GtkWidget* const _folder;
  GtkWidget* const _limited;
  GtkWidget* const _limit;
  int64_t _shownLimit = 0;  // what the user found there: one left alone is not saved
};

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_WINDOWS_PREFERENCES_WINDOW_H_
