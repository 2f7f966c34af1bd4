#include "tools/npapi_host/MainLoop.h"

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
  g_idle_add_full(G_PRIORITY_DEFAULT, runStep, keepStep(std::move(step)), freeStep);
}

guint MainLoop::postLater(unsigned milliseconds, std::function<void()> step) {
  return g_timeout_add_full(G_PRIORITY_DEFAULT, milliseconds, runStep, keepStep(std::move(step)),
                            freeStep);
}

bool MainLoop::onMainThread() {
  return std::this_thread::get_id() == kMainThread;
}

}  // namespace npapi_host
