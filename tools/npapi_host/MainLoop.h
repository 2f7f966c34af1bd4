#ifndef TOOLS_NPAPI_HOST_MAIN_LOOP_H_
#define TOOLS_NPAPI_HOST_MAIN_LOOP_H_

#include <glib.h>

#include <functional>

namespace npapi_host {

// The page's loop: GLib's default main context, which the module's own timers and GTK share. Nested
// loops (a dialog's) go on delivering what is posted here.
class MainLoop {
 public:
  MainLoop();
  ~MainLoop();
  MainLoop(const MainLoop&) = delete;
  MainLoop& operator=(const MainLoop&) = delete;

  void run();
  // Makes run() return, or return at once when it has not been entered yet. Inside a loop nested in
  // run() it takes effect only when that one ends.
  void quit();

  // Any thread: runs `step` on the main thread, in order of posting.
  static void post(std::function<void()> step);
  // Any thread: the same, not before `milliseconds` have passed. Returns the GLib source's number.
  static guint postLater(unsigned milliseconds, std::function<void()> step);
  static bool onMainThread();

 private:
  GMainLoop* _loop;
  bool _quit = false;
};

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_MAIN_LOOP_H_
