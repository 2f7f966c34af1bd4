#ifndef PELLION_SIMULATOR_WINDOWS_ABOUT_WINDOW_H_
#define PELLION_SIMULATOR_WINDOWS_ABOUT_WINDOW_H_

#include <gtk/gtk.h>

namespace pellion_simulator {

// What the program is and its version. Main thread only; closing hides it.
class AboutWindow {
 public:
  AboutWindow();
  ~AboutWindow();
  AboutWindow(const AboutWindow&) = delete;
  AboutWindow& operator=(const AboutWindow&) = delete;

  void show();

 private:
  GtkWidget* const _window;
};

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_WINDOWS_ABOUT_WINDOW_H_
