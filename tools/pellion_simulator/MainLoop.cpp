#include "tools/pellion_simulator/MainLoop.h"

#include <glib-unix.h>

#include <csignal>

#include "tools/pellion_simulator/Log.h"

namespace pellion_simulator {

namespace {

gboolean onSignal(gpointer loop) {
  logLine("A signal asks this program to exit");
  static_cast<MainLoop*>(loop)->quit();
  return G_SOURCE_CONTINUE;
}

}  // namespace

MainLoop::MainLoop()
    : _loop(g_main_loop_new(nullptr, FALSE)),
      _signals{g_unix_signal_add(SIGINT, onSignal, this),
               g_unix_signal_add(SIGTERM, onSignal, this),
               g_unix_signal_add(SIGHUP, onSignal, this)} {}

MainLoop::~MainLoop() {
  for (const guint signal : _signals) {
    g_source_remove(signal);
  }
  g_main_loop_unref(_loop);
}

void MainLoop::run() {
  g_main_loop_run(_loop);
}

void MainLoop::quit() {
  // Posted, so that it also ends a loop that is only about to run.
  post([this] { g_main_loop_quit(_loop); });
}

void MainLoop::post(std::function<void()> step) {
  {
    std::lock_guard<std::mutex> lock(_mutex);
    _posted.push_back(std::move(step));
  }
  g_idle_add_full(G_PRIORITY_DEFAULT, onPosted, this, nullptr);
}

gboolean MainLoop::onPosted(gpointer self) {
  auto* loop = static_cast<MainLoop*>(self);
  std::function<void()> step;
  {
    std::lock_guard<std::mutex> lock(loop->_mutex);
    step = std::move(loop->_posted.front());
    loop->_posted.pop_front();
  }
  step();
  return G_SOURCE_REMOVE;
}

}  // namespace pellion_simulator
