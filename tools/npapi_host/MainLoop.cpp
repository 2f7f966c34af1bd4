#include "tools/npapi_host/MainLoop.h"

#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace npapi_host {
namespace {

const std::thread::id kMainThread = std::this_thread::get_id();

// GLib hands a step over under locks of its own kind, which the thread sanitizer cannot see. It
// sees this one.
std::mutex handOver;

gpointer keepStep(std::function<void()> step) {
  std::lock_guard<std::mutex> lock(handOver);
  return new std::function<void()>(std::move(step));
}

gboolean runStep(gpointer data) {
  { std::lock_guard<std::mutex> lock(handOver); }
  (*static_cast<std::function<void()>*>(data))();
  return G_SOURCE_REMOVE;
}

void freeStep(gpointer data) {
  delete static_cast<std::function<void()>*>(data);
}

// The posted steps, as one source. GLib would wake the main thread with its lock held, for which
// that thread then waits at once.
class Steps {
 public:
  Steps() {
    static GSourceFuncs functions = {[](GSource*, gint*) -> gboolean { return steps().waiting(); },
                                     [](GSource*) -> gboolean { return steps().waiting(); },
                                     [](GSource*, GSourceFunc, gpointer) -> gboolean {
                                       steps().runOne();
                                       return G_SOURCE_CONTINUE;
                                     },
                                     nullptr,
                                     nullptr,
                                     nullptr};
    GSource* source = g_source_new(&functions, sizeof(GSource));
    g_source_set_can_recurse(source, TRUE);
    g_source_attach(source, nullptr);
    g_source_unref(source);
  }

  // Never destroyed: threads may still post while the process exits.
  static Steps& steps() {
    static Steps* const steps = new Steps;
    return *steps;
  }

  void add(std::function<void()> step) {
    bool wake = false;
    {
      std::lock_guard<std::mutex> lock(_mutex);
      wake = _steps.empty() && !MainLoop::onMainThread();
      _steps.push_back(std::move(step));
    }
    if (wake) {
      g_main_context_wakeup(nullptr);
    }
  }

 private:
  bool waiting() {
    std::lock_guard<std::mutex> lock(_mutex);
    return !_steps.empty();
  }

  void runOne() {
    std::function<void()> step;
    {
      std::lock_guard<std::mutex> lock(_mutex);
      if (_steps.empty()) {  // a loop nested in a source before this one has run it
        return;
      }
      step = std::move(_steps.front());
      _steps.pop_front();
    }
    step();
  }

  std::mutex _mutex;
  std::deque<std::function<void()>> _steps;  // guarded by _mutex
};

}  // namespace

MainLoop::MainLoop() : _loop(g_main_loop_new(nullptr, FALSE)) {}

MainLoop::~MainLoop() {
  g_main_loop_unref(_loop);
}

void MainLoop::run() {
  if (!_quit) {
    g_main_loop_run(_loop);
  }
}

void MainLoop::quit() {
  _quit = true;
  g_main_loop_quit(_loop);
}

void MainLoop::post(std::function<void()> step) {
  Steps::steps().add(std::move(step));
}

guint MainLoop::postLater(unsigned milliseconds, std::function<void()> step) {
  return g_timeout_add_full(G_PRIORITY_DEFAULT, milliseconds, runStep, keepStep(std::move(step)),
                            freeStep);
}

bool MainLoop::onMainThread() {
  return std::this_thread::get_id() == kMainThread;
}

}  // namespace npapi_host
