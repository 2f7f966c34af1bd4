#ifndef PELLION_SIMULATOR_MAIN_LOOP_H_
#define PELLION_SIMULATOR_MAIN_LOOP_H_

#include <glib.h>

#include <deque>
#include <functional>
#include <mutex>

namespace pellion_simulator {

// The main thread's loop: it waits for the end of the program and carries all GTK work, with or
// without a display.
class MainLoop {
 public:
  MainLoop();
  ~MainLoop();
  MainLoop(const MainLoop&) = delete;
  MainLoop& operator=(const MainLoop&) = delete;

  // Blocks until quit() or one of SIGINT, SIGTERM and SIGHUP.
  void run();
  // From any thread; also before run().
  void quit();
  // From any thread: `step` runs soon on the main thread, in the order of the calls; never when the
  // loop has ended. It must not throw.
  void post(std::function<void()> step);

 private:
  static gboolean onPosted(gpointer self);

  GMainLoop* const _loop;
  guint _signals[3];
  std::mutex _mutex;
  std::deque<std::function<void()>> _posted;  // guarded by _mutex
};

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_MAIN_LOOP_H_
