#include "tools/page_host/Timers.h"

#include <glib.h>

#include <algorithm>

namespace page_host {

// As in browsers: a larger delay, or what is no number, counts as the shortest.
static constexpr double kMaxDelay = 2147483647;

double Timers::add(JSObjectRef function, double milliseconds, bool repeat, size_t argCount,
                   const JSValueRef args[]) {
  const auto timer = std::make_shared<Timer>(_engine->context());
  timer->function = function;
  timer->callee.add(function);
  for (size_t i = 0; i < argCount; ++i) {
    timer->args.add(args[i]);
  }
  const double delay = milliseconds >= 1 && milliseconds <= kMaxDelay ? milliseconds : 1;
  const int64_t microseconds = static_cast<int64_t>(delay * 1000);
  timer->interval = repeat ? microseconds : 0;
  timer->number = ++_lastNumber;
  schedule(timer, g_get_monotonic_time() + microseconds);
  return timer->number;
}

void Timers::schedule(const std::shared_ptr<Timer>& timer, int64_t due) {
  _queue[{due, ++_lastSequence}] = timer;
  arm();
}

void Timers::clear(double number) {
  const auto it = std::find_if(_queue.begin(), _queue.end(), [number](const auto& entry) {
    return entry.second->number == number;
  });
  if (it != _queue.end()) {
    _queue.erase(it);
    arm();
  }
}

void Timers::clearAll() {
  _queue.clear();
  arm();
}

// One source for all, set to the earliest.
void Timers::arm() {
  if (_source != 0) {
    g_source_remove(_source);
    _source = 0;
  }
  if (!_queue.empty()) {
    const int64_t wait = std::max<int64_t>(0, _queue.begin()->first.first - g_get_monotonic_time());
    _source = g_timeout_add(static_cast<guint>((wait + 999) / 1000), fire, this);
  }
}

int Timers::fire(void* self) {
  Timers* timers = static_cast<Timers*>(self);
  timers->_source = 0;
  timers->runDue();
  return G_SOURCE_REMOVE;
}

// One timer a turn. The next is armed before the function runs, which may run a main loop itself.
void Timers::runDue() {
  const auto first = _queue.begin();
  if (first == _queue.end() || first->first.first > g_get_monotonic_time()) {
    arm();
    return;
  }
  const std::shared_ptr<Timer> timer = first->second;
  _queue.erase(first);
  if (timer->interval > 0) {
    schedule(timer, g_get_monotonic_time() + timer->interval);
  } else {
    arm();
  }
  _engine->call(timer->function, nullptr, timer->args);
}

}  // namespace page_host
