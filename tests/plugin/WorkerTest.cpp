#include <gmock/gmock.h>
#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <stdexcept>

#include "plugin/src/SingleJobWorker.h"
#include "plugin/src/SystemException.h"
#include "plugin/src/TransfersPoller.h"
#include "plugin/src/Utils.h"
#include "plugin/src/Worker.h"
#include "tests/plugin/JobFakes.h"
#include "tests/support/Sandbox.h"
#include "tests/support/WaitFor.h"

namespace {

using Pellion::Web::SingleJobWorker;
using Pellion::Web::SystemException;
using test_support::countThreads;
using test_support::waitFor;

// Done before its thread ends: the thread goes on in `_afterDone`.
class TwoStepWorker : public Pellion::Web::Worker {
 public:
  explicit TwoStepWorker(std::function<void()> afterDone = [] {})
      : _afterDone(std::move(afterDone)) {}

  bool isDone() const override { return _done; }
  void run() override {
    while (!_stopRequested) {
      std::this_thread::sleep_for(std::chrono::microseconds(10));
    }
    _done = true;
    _afterDone();
  }
  void stop() override { _stopRequested = true; }

 private:
  std::function<void()> _afterDone;
  std::atomic<bool> _done{false};
  std::atomic<bool> _stopRequested{false};
};

class Worker : public test_support::Sandbox {
 protected:
  Worker() { Pellion::Web::Utils::logInit(); }
  ~Worker() override { Pellion::Web::Utils::logCleanup(); }

  // Taken after a first thread, since a sanitizer may start its own with it.
  const size_t _threadsAtStart = (std::thread([] {}).join(), countThreads());
  bool threadsAreBack() const {
    return waitFor([&] { return countThreads() == _threadsAtStart; });
  }
};

std::string failureOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const SystemException& e) {
    return e.what();
  }
  return "nothing thrown";
}

TEST_F(Worker, joinsARunningThreadAndLeavesEveryOtherAlone) {
  TwoStepWorker neverStarted;
  neverStarted.join();
  neverStarted.reap();

  TwoStepWorker running;
  running.start();
  running.reap();
  EXPECT_FALSE(running.isDone());
  running.stop();
  running.join();
  EXPECT_TRUE(running.isDone());
  running.reap();
  EXPECT_TRUE(threadsAreBack());
  EXPECT_EQ(logLines("Failed to join").size(), 0u);
}

TEST_F(Worker, reapWaitsForTheThreadThatJoinSkips) {
  std::promise<void> gate;
  TwoStepWorker worker([&] { gate.get_future().wait(); });
  worker.start();
  worker.stop();
  ASSERT_TRUE(waitFor([&] { return worker.isDone(); }));
  worker.join();
  EXPECT_EQ(countThreads(), _threadsAtStart + 1);

  auto reaped = std::async(std::launch::async, [&] { worker.reap(); });
  EXPECT_EQ(reaped.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
  gate.set_value();
  reaped.get();
  EXPECT_TRUE(threadsAreBack());
}

size_t countMappings() {
  const std::string maps = test_support::readFile("/proc/self/maps");
  return static_cast<size_t>(std::count(maps.begin(), maps.end(), '\n'));
}

TEST_F(Worker, thousandsOfShortLivesLeaveNeitherThreadNorStack) {
  const size_t mappingsAtStart = countMappings();
  for (int i = 0; i < 3000; ++i) {
    TwoStepWorker worker;
    worker.start();
    worker.stop();
    // Each turn joins at another point of the thread's end.
    const auto joinTime = std::chrono::steady_clock::now() + std::chrono::microseconds(i % 128);
    while (std::chrono::steady_clock::now() < joinTime) {
    }
    worker.join();
    worker.reap();
  }
  EXPECT_TRUE(threadsAreBack());
  EXPECT_LT(countMappings(), mappingsAtStart + 200);
}

// No thread fits into the address space with this default stack.
class HugeStacks {
 public:
  HugeStacks() {
    pthread_getattr_default_np(&_saved);
    pthread_attr_t huge;
    pthread_attr_init(&huge);
    pthread_attr_setstacksize(&huge, size_t{1} << 47);
    pthread_setattr_default_np(&huge);
    pthread_attr_destroy(&huge);
  }
  ~HugeStacks() {
    pthread_setattr_default_np(&_saved);
    pthread_attr_destroy(&_saved);
  }

 private:
  pthread_attr_t _saved;
};

TEST_F(Worker, aThreadThatCannotBeMadeIsReportedAndCanBeRetried) {
  Pellion::Web::TransfersPoller abandoned;
  TwoStepWorker worker;
  {
    const HugeStacks hugeStacks;
    const std::string failure = "Failed to spawn thread: Resource temporarily unavailable (11)";
    EXPECT_EQ(failureOf([&] { worker.start(); }), failure);
    EXPECT_EQ(failureOf([&] { abandoned.start(); }), failure);
  }
  worker.reap();
  EXPECT_EQ(failureOf([&] { worker.join(); }), "Failed to join thread: No such process (3)0");
  EXPECT_EQ(logLines("Failed to join thread: No such process (3)0").size(), 1u);
  EXPECT_THAT(logText(), testing::Not(testing::HasSubstr("Failed to spawn")));

  worker.start();
  worker.stop();
  worker.join();
  worker.reap();
  EXPECT_TRUE(worker.isDone());
}

TEST_F(Worker, anExceptionEndsTheThreadAndNotTheProcess) {
  auto* callback = new FakeCallback([](void*) { throw std::runtime_error("out of luck"); });
  SingleJobWorker worker(new FakeJob([] {}), callback);
  worker.start();
  EXPECT_TRUE(waitFor([&] { return worker.isDone(); }));
  worker.reap();
  EXPECT_EQ(logLines("ended by an exception: out of luck").size(), 1u);
}

TEST_F(Worker, aSingleJobReportsUnlessItWasInterrupted) {
  const struct {
    const char* label;
    bool stopFirst, throws;
    int runs, told;
  } kCases[] = {{"runs", false, false, 1, 1},
                {"is stopped before it runs", true, false, 0, 0},
                {"throws", false, true, 1, 1}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.label);
    int runs = 0, told = 0;
    auto job = [&] {
      ++runs;
      if (c.throws) {
        throw std::runtime_error("broken job");
      }
    };
    {
      void* data = nullptr;
      auto* callback = new FakeCallback([&](void* d) { ++told, data = d; });
      SingleJobWorker worker(new FakeJob(job), callback);
      if (c.stopFirst) {
        worker.stop();
      }
      worker.start();
      worker.join();
      worker.reap();
      EXPECT_TRUE(worker.isDone());
      EXPECT_EQ(data, c.told ? &worker : nullptr);
      const int stops = FakeJob::stops;
      worker.stop();
      EXPECT_EQ(FakeJob::stops, stops);
    }
    EXPECT_EQ(runs, c.runs);
    EXPECT_EQ(told, c.told);
    EXPECT_EQ(FakeJob::alive + FakeCallback::alive, 0);
  }
}

TEST_F(Worker, aSingleJobNeedsNoCallback) {
  bool ran = false;
  SingleJobWorker worker(new FakeJob([&] { ran = true; }), nullptr);
  worker.run();
  EXPECT_TRUE(ran && worker.isDone());
}

}  // namespace
