#include <glib.h>
#include <gmock/gmock.h>

#include <memory>
#include <new>
#include <stdexcept>
#include <thread>

#include "plugin/src/RunnableScheduler.h"
#include "plugin/src/linux/OneShotManager.h"
#include "tests/plugin/FailingMemory.h"
#include "tests/plugin/JobFakes.h"
#include "tests/plugin/LoggedSandbox.h"
#include "tests/support/WaitFor.h"

namespace {

using Pellion::Web::OneShotManager;
using testing::ElementsAre;

class RunnableScheduler : public LoggedSandbox {
 protected:
  using Scheduler = Pellion::Web::RunnableScheduler;

  RunnableScheduler() { Scheduler::init(); }
  ~RunnableScheduler() override { Scheduler::cleanup(); }

  // A job that notes "run NAME", with a callback that notes "told NAME".
  void schedule(OneShotManager* manager, const std::string& name) {
    schedule(manager, name, [this, name] { _events.push_back("run " + name); });
  }
  void schedule(OneShotManager* manager, const std::string& name, std::function<void()> work) {
    auto* job = new FakeJob(std::move(work));
    auto* callback = new FakeCallback([this, name, job](void* data) {
      EXPECT_EQ(data, job);
      _events.push_back("told " + name);
    });
    Scheduler::scheduleRunnable(manager, job, callback);
  }

  // Runs the main loop until `jobs` jobs are alive; the callbacks must have gone with theirs.
  static void pumpUntil(int jobs) {
    EXPECT_TRUE(test_support::waitFor([&] {
      while (g_main_context_iteration(nullptr, FALSE)) {
      }
      return FakeJob::alive == jobs;
    }));
    EXPECT_LE(FakeCallback::alive, jobs);
  }

  std::vector<std::string> _events;
};

TEST_F(RunnableScheduler, runsEachJobOnTheMainThreadAndTellsItsCallback) {
  OneShotManager manager;
  const std::thread::id main = std::this_thread::get_id();
  // Joined before the loop runs: the thread sanitizer cannot see the main loop's own locks.
  std::thread([&] {
    schedule(&manager, "a", [&] { EXPECT_EQ(std::this_thread::get_id(), main); });
  }).join();
  Scheduler::scheduleRunnable(&manager, new FakeJob([&] { _events.push_back("alone"); }), nullptr);
  EXPECT_THAT(_events, ElementsAre());
  pumpUntil(0);
  EXPECT_THAT(_events, testing::UnorderedElementsAre("told a", "alone"));
  Scheduler::stopRunnables(&manager);
  EXPECT_EQ(logLines("stopRunnables() - osm=").size(), 1u);
  EXPECT_EQ(logLines("size=0").size(), 1u);
}

TEST_F(RunnableScheduler, stoppingOneInstanceSparesTheOthers) {
  auto dying = std::make_unique<OneShotManager>();
  OneShotManager living;
  schedule(dying.get(), "a");
  schedule(&living, "b");
  Scheduler::stopRunnables(dying.get());
  dying.reset();
  EXPECT_EQ(FakeJob::stops, 1);
  pumpUntil(0);
  EXPECT_THAT(_events, ElementsAre("run b", "told b"));
}

TEST_F(RunnableScheduler, anInstanceMayDieInsideTheLoopOfItsOwnJob) {
  auto manager = std::make_unique<OneShotManager>();
  schedule(manager.get(), "dialog", [&] {
    schedule(manager.get(), "nested");
    Scheduler::stopRunnables(manager.get());
    manager.reset();
    pumpUntil(1);
  });
  pumpUntil(0);
  EXPECT_THAT(_events, ElementsAre());
  EXPECT_EQ(FakeJob::stops, 2);
}

TEST_F(RunnableScheduler, aThrowingJobIsLoggedAndFreed) {
  OneShotManager manager;
  schedule(&manager, "a", [] { throw std::runtime_error("no display"); });
  pumpUntil(0);
  EXPECT_EQ(FakeCallback::alive, 0);
  EXPECT_EQ(logLines("no display").size(), 1u);
  Scheduler::stopRunnables(&manager);
  EXPECT_EQ(FakeJob::stops, 0);
}

TEST_F(RunnableScheduler, aJobThatCannotBePostedLeavesNothingBehind) {
  OneShotManager manager;
  for (int allocation = 0, jobs = 0; jobs == 0; ++allocation) {
    auto* job = new FakeJob([this] { _events.push_back("run"); });
    auto* callback = new FakeCallback([](void*) {});
    failing_memory::start(allocation);
    try {
      Scheduler::scheduleRunnable(&manager, job, callback);
    } catch (const std::bad_alloc&) {
    }
    jobs = failing_memory::stop() ? 0 : 1;
    EXPECT_EQ(FakeJob::alive, jobs) << allocation;
    EXPECT_EQ(FakeCallback::alive, jobs) << allocation;
  }
  pumpUntil(0);
  EXPECT_THAT(_events, ElementsAre("run"));
  Scheduler::stopRunnables(&manager);
  EXPECT_EQ(FakeJob::stops, 0);
}

TEST_F(RunnableScheduler, aStepAfterTheShutdownOnlyFreesItsPair) {
  OneShotManager manager;
  schedule(&manager, "late");
  Scheduler::cleanup();
  Scheduler::cleanup();
  pumpUntil(0);
  EXPECT_EQ(FakeCallback::alive, 0);
  EXPECT_THAT(_events, ElementsAre());

  Scheduler::init();
  schedule(&manager, "closing", [] { Scheduler::cleanup(); });
  pumpUntil(0);
  EXPECT_THAT(_events, ElementsAre());

  // Nothing of the old jobs is left in the registry.
  Scheduler::init();
  Scheduler::init();
  Scheduler::stopRunnables(&manager);
  EXPECT_EQ(FakeJob::stops, 0);
}

TEST_F(RunnableScheduler, usingItOutsideItsLifeFailsAnAssertion) {
  OneShotManager manager;
  Scheduler::cleanup();
  EXPECT_DEATH(Scheduler::stopRunnables(&manager), "kRunnablesMutex != __null");
  EXPECT_DEATH(Scheduler::scheduleRunnable(&manager, nullptr, nullptr),
               "kRunnablesMutex != __null");
}

}  // namespace
