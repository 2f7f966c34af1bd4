#ifndef TOOLS_WEB_HOST_LEAVE_DIALOG_H_
#define TOOLS_WEB_HOST_LEAVE_DIALOG_H_

#include <gtk/gtk.h>

#include <functional>
#include <string>

namespace web_host {

// The question whether a site may use the plugin, on the user's screen. Its buttons come alive half
// a second after it is shown, so that a click or key meant for the page does not answer it. Main
// thread only; GTK must be initialised.
class LeaveDialog {
 public:
  enum class Answer { kAlways, kThisTime, kNever, kClosed };

  // `canKeep`: whether "Always" and "Never" are offered. `answered` is called once, from the main
  // loop; the dialog has gone from the screen then.
  LeaveDialog(const std::string& origin, bool canKeep, std::function<void(Answer)> answered);
  ~LeaveDialog();
  LeaveDialog(const LeaveDialog&) = delete;
  LeaveDialog& operator=(const LeaveDialog&) = delete;

 private:
  static void onResponse(GtkDialog* dialog, gint response, gpointer data);
  static gboolean onShownLongEnough(gpointer data);
  void setSensitive(bool sensitive);
  void close();

  GtkWidget* _dialog;
  guint _timer = 0;
  const std::function<void(Answer)> _answered;
};

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_LEAVE_DIALOG_H_
