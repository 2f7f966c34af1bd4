#ifndef TESTS_PLUGIN_JOBFAKES_H_
#define TESTS_PLUGIN_JOBFAKES_H_

#include <atomic>
#include <functional>

#include "plugin/src/Callback.h"
#include "plugin/src/Runnable.h"

// A job that does what the test says and counts the jobs alive. Like a dialog, a stopped one counts
// as interrupted and does nothing when it is run.
class FakeJob : public Pellion::Web::Runnable {
 public:
  explicit FakeJob(std::function<void()> work) : _work(std::move(work)) { ++alive; }
  ~FakeJob() override { --alive; }

  bool isInterrupted() override { return _interrupted; }
  void run() override {
    if (!_interrupted) {
      _work();
    }
  }
  void stop() override {
    ++stops;
    _interrupted = true;
  }

  inline static std::atomic<int> alive{0};
  inline static std::atomic<int> stops{0};

 private:
  std::function<void()> _work;
  std::atomic<bool> _interrupted{false};
};

// A callback that does what the test says with its data, and counts the callbacks alive.
class FakeCallback : public Pellion::Web::Callback {
 public:
  explicit FakeCallback(std::function<void(void*)> told) : _told(std::move(told)) { ++alive; }
  ~FakeCallback() override { --alive; }

  void handleCallback(void* data) override { _told(data); }

  inline static std::atomic<int> alive{0};

 private:
  std::function<void(void*)> _told;
};

#endif  // TESTS_PLUGIN_JOBFAKES_H_
