#include <glib.h>

#include <atomic>
#include <future>
#include <thread>

#include "browsers/npapi_common/DialogCallback.h"
#include "browsers/npapi_common/PendingHandOvers.h"
#include "browsers/npapi_common/TransferEventHandler.h"
#include "tests/browsers/PluginFixture.h"

namespace {

using test_support::countThreads;
using test_support::httpResponse;
using test_support::Null;
using test_support::PageArguments;
using test_support::PageObject;
using test_support::PageValue;
using test_support::sendAll;
using test_support::Undefined;
using test_support::waitFor;

const char kActivity[] = "{\"iteration_token\":\"1\",\"transfers\":[]}";

class PluginLife : public PluginSandbox {
 protected:
  PluginLife() { unsetenv("DISPLAY"); }
  ~PluginLife() override { finishReleasing(); }

  PageValue request(PageObject* page, const std::string& path = "/") {
    const auto answer = call("pellionHttpRequestAsync", {"GET", path, "", page});
    return answer ? *answer : PageValue("refused");
  }
  bool waitForQueued(size_t calls) {
    return waitFor([&] { return browser.queuedCalls() >= calls; });
  }

  // "/slow" is answered once releaseAtStop() was called and the instance asks its worker to end.
  void serveSlowly() {
    serve([this](int connection, const std::string& text, size_t) {
      if (text.find(" /slow ") != std::string::npos) {
        _released.get_future().wait_for(std::chrono::seconds(20));
      }
      sendAll(connection, httpResponse("{}"));
    });
  }
  void releaseAtStop() {
    _releaser = std::thread([this] {
      waitFor([this] { return !logLines("RequestWorker::stop()").empty(); });
      _released.set_value();
    });
  }
  void finishReleasing() {
    if (_releaser.joinable()) {
      _releaser.join();
    }
  }

 private:
  std::promise<void> _released;
  std::thread _releaser;
};

TEST_F(PluginLife, neverTellsWhoeverWaitsForARequestOfADeadInstance) {
  serveSlowly();
  const size_t threads = countThreads();
  create();
  PageObject* inFlight = browser.newFunction();
  PageObject* queued = browser.newFunction();
  EXPECT_EQ(PageValue(Null()), request(inFlight, "/slow"));
  EXPECT_EQ(PageValue(Null()), request(queued));
  EXPECT_EQ(PageValue(Null()), request(queued));
  ASSERT_TRUE(waitFor([&] { return requestsFor("GET /slow").size() == 1; }));
  releaseAtStop();
  destroy();
  finishReleasing();
  EXPECT_EQ(threads, countThreads());
  EXPECT_EQ(0u, requestsFor("GET / ").size());
  EXPECT_EQ(0u, browser.queuedCalls());
  EXPECT_EQ(0u, inFlight->calls().size() + queued->calls().size());
  expectLetGo(inFlight);
  expectLetGo(queued);
}

TEST_F(PluginLife, mayEndInsideItsOwnCallback) {
  serve("{}");
  create();
  PageObject* others = browser.newFunction();
  PageObject* page = browser.newFunction([this](const PageArguments&) {
    destroy();
    return PageValue("gone");
  });
  browser.setProperty(object, "eventHandler", others);
  browser.setProperty(object, "dropObserver", others);
  EXPECT_EQ(PageValue(Null()), request(page));
  EXPECT_EQ(PageValue(Null()), request(others));
  ASSERT_TRUE(waitForQueued(2));
  EXPECT_EQ(PageValue(Null()), request(others));
  browser.setPending(FakeBrowser::Pending::kDeliveredLate);
  EXPECT_TRUE(browser.pumpUntil([&] { return plugin == nullptr; }));
  browser.pump();
  EXPECT_EQ(1u, page->calls().size());
  EXPECT_EQ(0u, others->calls().size());
  expectLetGo(page);
  expectLetGo(others);
}

// Both ways of browsers with what is pending, and the same address given to the next instance.
TEST_F(PluginLife, deliversNothingOfADeadInstanceUnderItsAddress) {
  serve("{}");
  for (auto pending : {FakeBrowser::Pending::kDropped, FakeBrowser::Pending::kDeliveredLate}) {
    browser.setPending(pending);
    create();
    PageObject* page = browser.newFunction();
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(PageValue(Null()), request(page));
    }
    ASSERT_TRUE(waitForQueued(3));
    const NPP address = instance;
    destroy();
    expectLetGo(page);
    create();
    ASSERT_EQ(address, instance);
    PageObject* next = browser.newFunction();
    EXPECT_EQ(PageValue(Null()), request(next));
    EXPECT_TRUE(browser.pumpUntil([&] { return next->calls().size() == 1; }));
    EXPECT_EQ(0u, page->calls().size());
    destroy();
  }
}

TEST_F(PluginLife, usesTheMainLoopOfABrowserWithoutAsynchronousCalls) {
  serve("{}");
  g_NPNFuncs.pluginthreadasynccall = nullptr;
  create();
  PageObject* page = browser.newFunction();
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(PageValue(Null()), request(page));
  }
  EXPECT_TRUE(waitFor([&] {
    g_main_context_iteration(nullptr, FALSE);
    return page->calls().size() == 3;
  }));
  EXPECT_EQ(PageValue(Null()), request(page));
  ASSERT_TRUE(waitFor([] { return g_main_context_pending(nullptr) == TRUE; }));
  destroy();
  while (g_main_context_iteration(nullptr, FALSE)) {
  }
  EXPECT_EQ(3u, page->calls().size());
  expectLetGo(page);
}

TEST_F(PluginLife, releasesThePageFunctionOfADialogThatNeverRan) {
  create();
  PageObject* page = browser.newFunction();
  EXPECT_EQ(PageValue(Null()), call("runOpenFileDialogAsync", {"t", true, "", page}));
  destroy();
  expectLetGo(page);
  EXPECT_EQ(1u, logLines("stopRunnables() - stopping").size());
  EXPECT_TRUE(waitFor([] { return g_main_context_iteration(nullptr, FALSE) == TRUE; }));
  EXPECT_EQ(0u, page->calls().size());
  PageObject* other = browser.newFunction();
  DialogCallback(nullptr, 1, other, DialogCallback::eOpenFile, std::make_shared<bool>());
  expectLetGo(other);
}

class TransferEvents : public PluginLife {
 protected:
  TransferEvents() : instanceOfHandler(browser.openInstance()) {}

  // On a thread of its own, as from the poller.
  static void occur(TransferEventHandler& handler, const std::vector<std::string>& events) {
    std::thread([&] {
      for (const std::string& event : events) {
        handler.transferEventOccurred(event);
      }
    }).join();
  }

  const NPP instanceOfHandler;
  const uint64_t owner = PendingHandOvers::newOwner();
};

TEST_F(TransferEvents, reachTheFunctionThatIsSetWhenTheyArriveInOrder) {
  TransferEventHandler handler(instanceOfHandler, nullptr, owner);
  PageObject* first = browser.newFunction();
  PageObject* second = browser.newFunction();
  occur(handler, {"lost"});
  handler.setEventHandler(first);
  occur(handler, {"a", "b"});
  EXPECT_EQ(2u, browser.pump());
  EXPECT_EQ((std::vector<PageArguments>{{"transfer", "a"}, {"transfer", "b"}}), first->calls());
  occur(handler, {"c"});
  handler.setEventHandler(second);
  occur(handler, {"d"});
  PendingHandOvers::freeAll(PendingHandOvers::newOwner());  // The end of another instance.
  browser.pump();
  occur(handler, {"e"});
  handler.setEventHandler(nullptr);
  browser.pump();
  EXPECT_EQ(2u, first->calls().size());
  EXPECT_EQ((std::vector<PageArguments>{{"transfer", "c"}, {"transfer", "d"}}), second->calls());
  handler.setEventHandler(second);
  occur(handler, {"f", "g"});
  PendingHandOvers::freeAll(owner);
  EXPECT_EQ(2u, browser.pump()) << "the tickets are delivered, and find nothing";
  EXPECT_EQ(2u, second->calls().size());
}

TEST_F(TransferEvents, comeFromTheSessionUntilTheirFunctionIsTakenAway) {
  serve(kActivity);
  create();
  PageObject* page = browser.newFunction();
  browser.setProperty(object, "eventHandler", page);
  call("initSession", {"app", ""});
  ASSERT_TRUE(browser.pumpUntil([&] { return page->calls().size() == 2; }));
  EXPECT_EQ((PageArguments{"transfer", kActivity}), page->calls()[0]);
  ASSERT_TRUE(waitForQueued(1));
  browser.setProperty(object, "eventHandler", Null());
  browser.pump();
  EXPECT_EQ(2u, page->calls().size());
  expectLetGo(page);

  page->function = [this](const PageArguments&) {
    destroy();
    return PageValue(1);
  };
  browser.setProperty(object, "eventHandler", page);
  ASSERT_TRUE(browser.pumpUntil([&] { return page->calls().size() == 3; }));
  expectLetGo(page);
}

class ManyInstances : public PluginLife {
 protected:
  ManyInstances() {
    // Their lines would take most of the time.
    Pellion::Web::Utils::logCleanup();
    serve(kActivity);
    page = browser.newFunction();
    threads = countThreads();
    descriptors = test_support::countDescriptors();
  }
  ~ManyInstances() override {
    // The server may still be closing its last connection.
    EXPECT_TRUE(test_support::waitFor([this] {
      return countThreads() == threads && test_support::countDescriptors() == descriptors;
    }));
    expectLetGo(page);
    EXPECT_EQ(1u, page->referenceCount);
  }

  PageObject* page;
  size_t threads;
  size_t descriptors;
};

TEST_F(ManyInstances, loseNothingWithRequestsOnTheirWay) {
  browser.setPending(FakeBrowser::Pending::kDeliveredLate);
  for (int i = 0; i < 2000; ++i) {
    create();
    for (int count = 0; count <= i % 3; ++count) {
      ASSERT_EQ(PageValue(Null()), request(page));
    }
    for (int turn = 0; turn < i % 97; ++turn) {
      std::this_thread::yield();
    }
    if (i % 5 == 0) {
      browser.pump();
    }
    const size_t told = page->calls().size();
    destroy();
    browser.pump();
    ASSERT_EQ(told, page->calls().size());
  }
}

// Made all at once: only the ends, each with its poller's pause, take their time.
TEST_F(ManyInstances, loseNothingWithEventsOnTheirWay) {
  std::vector<std::pair<NPP, ovOrvaneWebPlugin*>> instances;
  for (int i = 0; i < 30; ++i) {
    create();
    browser.setProperty(object, "eventHandler", page);
    ASSERT_TRUE(call("initSession", {"app", ""}));
    ASSERT_EQ(PageValue(Null()), request(page));
    instances.push_back({instance, plugin});
  }
  ASSERT_TRUE(waitForQueued(60));
  for (const auto& [anInstance, aPlugin] : instances) {
    instance = anInstance;
    plugin = aPlugin;
    destroy();
  }
  EXPECT_EQ(0u, browser.queuedCalls());
  EXPECT_EQ(0u, page->calls().size());
}

}  // namespace
