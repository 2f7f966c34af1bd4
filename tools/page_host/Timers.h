#ifndef TOOLS_PAGE_HOST_TIMERS_H_
#define TOOLS_PAGE_HOST_TIMERS_H_

#include <cstdint>
#include <map>
#include <memory>
#include <utility>

#include "tools/page_host/ScriptEngine.h"

namespace page_host {

// The page's setTimeout and setInterval. Timers run in the order in which they are due, those due
// together in the order in which they were set, also inside a nested main loop. Main thread only.
class Timers {
 public:
  explicit Timers(ScriptEngine* engine) : _engine(engine) {}
  ~Timers() { clearAll(); }
  Timers(const Timers&) = delete;
  Timers& operator=(const Timers&) = delete;

  // The timer's number, from 1. `args` go to the function.
  double add(JSObjectRef function, double milliseconds, bool repeat, size_t argCount,
             const JSValueRef args[]);
  void clear(double number);
  void clearAll();

 private:
  struct Timer {
    explicit Timer(JSContextRef context) : args(context), callee(context) {}
    JSObjectRef function = nullptr;
    ProtectedValues args;
    ProtectedValues callee;
    int64_t interval = 0;  // microseconds; 0: once
    double number = 0;
  };
  using Due = std::pair<int64_t, uint64_t>;  // when, then which was set first

  static int fire(void* self);
  void runDue();
  void schedule(const std::shared_ptr<Timer>& timer, int64_t due);
  void arm();

  ScriptEngine* _engine;
  std::map<Due, std::shared_ptr<Timer>> _queue;
  uint64_t _lastSequence = 0;
  double _lastNumber = 0;
  unsigned _source = 0;
};

}  // namespace page_host

#endif  // TOOLS_PAGE_HOST_TIMERS_H_
