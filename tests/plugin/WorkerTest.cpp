#include <gmock/gmock.h>
#include <pthread.h>

#include <chrono>
#include <future>
#include <stdexcept>

#include "plugin/src/SingleJobWorker.h"
#include "plugin/src/SystemException.h"
#include "plugin/src/TransfersPoller.h"
#include "plugin/src/Worker.h"
#include "tests/plugin/JobFakes.h"
#include "tests/plugin/LoggedSandbox.h"
#include "tests/support/WaitFor.h"

namespace {

using Pellion::Web::SingleJobWorker;
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

class Worker : public LoggedSandbox {
 protected:
  // Taken after a first thread, since a sanitizer may start its own with it.
  const size_t _threadsAtStart = (std::thread([] {}).join(), countThreads());
  bool threadsAreBack() const {
    return waitFor([&] { return countThreads() == _threadsAtStart; });
  }
};

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

std::string failureOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const Pellion::Web::SystemException& e) {
    return e.what();
  }
  return "nothing thrown";
}

TEST_F(Worker, aThreadThatCannotBeMadeIsReportedAndCanBeRetried) {
  Pellion::Web::TransfersPoller abandoned;
  TwoStepWorker worker;
  pthread_attr_t usual, huge;  // no thread with a huge stack fits into the address space
  pthread_getattr_default_np(&usual);
  pthread_attr_init(&huge);
  pthread_attr_setstacksize(&huge, size_t{1} << 47);
  pthread_setattr_default_np(&huge);
  const std::string failure = "Failed to spawn thread: Resource temporarily unavailable (11)";
  EXPECT_EQ(failureOf([&] { worker.start(); }), failure);
  EXPECT_EQ(failureOf([&] { abandoned.start(); }), failure);
  pthread_setattr_default_np(&usual);
  pthread_attr_destroy(&usual);
  pthread_attr_destroy(&huge);
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
  TwoStepWorker worker([] { throw std::runtime_error("out of luck"); });
  worker.start();
  worker.stop();
  EXPECT_TRUE(waitFor([&] { return worker.isDone(); }));
  worker.reap();
  EXPECT_EQ(logLines("ended by an exception: out of luck").size(), 1u);
}

TEST_F(Worker, aSingleJobIsReportedUnlessItWasInterrupted) {
  int runs = 0, told = 0;
  for (const bool stopFirst : {false, true}) {
    const auto job = [&] {
      ++runs;
      throw std::runtime_error("broken job");
    };
    SingleJobWorker worker(new FakeJob(job), new FakeCallback([&](void* data) {
                             EXPECT_EQ(data, &worker);
                             ++told;
                           }));
    stopFirst ? worker.stop() : void();
    worker.run();
    EXPECT_TRUE(worker.isDone());
  }
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(told, 1);
  EXPECT_EQ(FakeJob::alive + FakeCallback::alive, 0);
}

}  // namespace
