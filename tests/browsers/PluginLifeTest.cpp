#include <functional>
#include <future>
#include <thread>
#include <utility>

#include "browsers/npapi_common/DialogCallback.h"
#include "browsers/npapi_common/PendingHandOvers.h"
#include "browsers/npapi_common/TransferEventHandler.h"
#include "tests/browsers/PluginFixture.h"

namespace {

using namespace test_support;

const char kActivity[] = "{\"iteration_token\":\"1\",\"transfers\":[]}";

class PluginLife : public PluginSandbox {
 protected:
  PluginLife() { unsetenv("DISPLAY"); }

  // For requests that are queued.
  void request(PageObject* page, const std::string& path = "/", int count = 1) {
    for (; count > 0; --count) {
      EXPECT_EQ(PageValue(Null()), call("pellionHttpRequestAsync", {"GET", path, "", page}));
    }
  }
  bool waitForQueued(size_t calls) {
    return waitFor([&] { return browser.queuedCalls() >= calls; });
  }
};

TEST_F(PluginLife, neverTellsWhoeverWaitsForARequestOfADeadInstance) {
  std::promise<void> released;
  serve([&](int connection, const std::string& text, size_t) {
    if (text.find(" /slow ") != std::string::npos) {
      released.get_future().wait_for(std::chrono::seconds(20));
    }
    sendAll(connection, httpResponse("{}"));
  });
  const size_t threads = countThreads();
  create();
  PageObject* inFlight = browser.newFunction();
  PageObject* queued = browser.newFunction();
  request(inFlight, "/slow");
  request(queued, "/", 2);
  ASSERT_TRUE(waitFor([&] { return requestsFor("GET /slow").size() == 1; }));
  std::thread releaser([&] {
    waitFor([this] { return !logLines("RequestWorker::stop()").empty(); });
    released.set_value();
  });
  destroy();
  releaser.join();
  EXPECT_EQ(threads, countThreads());
  EXPECT_EQ(0u, requestsFor("GET / ").size());
  EXPECT_EQ(0u, browser.queuedCalls());
  EXPECT_EQ(0u, inFlight->calls().size() + queued->calls().size());
  expectLetGo(inFlight);
  expectLetGo(queued);
}

TEST_F(PluginLife, deliversNothingMoreOnceItEndedInsideItsOwnCallback) {
  serve("{}");
  create();
  PageObject* others = browser.newFunction();
  PageObject* page = browser.newFunction([this](const PageArguments&) {
    destroy();
    return PageValue("gone");
  });
  request(page);
  request(others);
  ASSERT_TRUE(waitForQueued(2));
  request(others);
  browser.setPending(FakeBrowser::Pending::kDeliveredLate);
  EXPECT_TRUE(browser.pumpUntil([&] { return plugin == nullptr; }));
  browser.pump();
  EXPECT_EQ(1u, page->calls().size());
  EXPECT_EQ(0u, others->calls().size());
  expectLetGo(page);
  expectLetGo(others);
}

TEST_F(PluginLife, usesTheMainLoopOfABrowserWithoutAsynchronousCalls) {
  serve("{}");
  g_NPNFuncs.pluginthreadasynccall = nullptr;
  create();
  PageObject* page = browser.newFunction();
  request(page, "/", 3);
  EXPECT_TRUE(runUntil([&] { return page->calls().size() == 3; }));
  request(page);
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
  DialogCallback(nullptr, 1, other, DialogCallback::eOpenFile, std::make_shared<int>());
  expectLetGo(other);
}

// A browser may let the page go on while it is asked for its window.
TEST_F(PluginLife, countsADialogThatIsAskedForWhileAnotherIs) {
  static std::function<void()> meanwhile;
  create();
  g_NPNFuncs.getvalue = [](NPP, NPNVariable, void*) -> NPError {
    std::exchange(meanwhile, [] {})();
    return NPERR_NO_ERROR;
  };
  std::vector<PageValue> whenTold;
  PageObject* page = browser.newFunction([&](const PageArguments&) {
    return whenTold.push_back(call("runOpenFileDialogAsync").value_or(false)), PageValue(1);
  });
  const auto ask = [&] {
    EXPECT_EQ(PageValue(Null()), call("runOpenFolderDialogAsync", {"", true, page}));
  };
  meanwhile = ask;
  ask();
  EXPECT_TRUE(runUntil([&] { return page->calls().size() == 2; }));
  EXPECT_EQ((std::vector<PageValue>{
                R"({"error":{"code":-1,"user_message":"A dialog is already open"}})", false}),
            whenTold);
}

TEST_F(PluginLife, givesTransferEventsToTheFunctionThatIsSetWhenTheyArriveInOrder) {
  const NPP place = browser.openInstance();
  const uint64_t owner = PendingHandOvers::newOwner();
  TransferEventHandler handler(place, nullptr, owner);
  // On a thread of its own, as from the poller.
  const auto occur = [&](const std::vector<std::string>& events) {
    std::thread([&] {
      for (const std::string& event : events) {
        handler.transferEventOccurred(event);
      }
    }).join();
  };
  PageObject* first = browser.newFunction();
  PageObject* second = browser.newFunction();
  occur({"lost"});
  handler.setEventHandler(first);
  occur({"a", "b"});
  EXPECT_EQ(2u, browser.pump());
  EXPECT_EQ((std::vector<PageArguments>{{"transfer", "a"}, {"transfer", "b"}}), first->calls());
  occur({"c"});
  handler.setEventHandler(second);
  occur({"d"});
  PendingHandOvers::freeAll(PendingHandOvers::newOwner());  // The end of another instance.
  browser.pump();
  occur({"e"});
  handler.setEventHandler(nullptr);
  browser.pump();
  EXPECT_EQ(2u, first->calls().size());
  EXPECT_EQ((std::vector<PageArguments>{{"transfer", "c"}, {"transfer", "d"}}), second->calls());
  handler.setEventHandler(second);
  occur({"f", "g"});
  PendingHandOvers::freeAll(owner);
  EXPECT_EQ(2u, browser.pump()) << "the tickets are delivered, and find nothing";
  EXPECT_EQ(2u, second->calls().size());
}

TEST_F(PluginLife, tellsOfTransfersOfItsSessionUntilTheFunctionIsTakenAway) {
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

// One after the other at the same address, with both ways of browsers with what is pending.
TEST_F(PluginLife, losesAndMisdeliversNothingOverManyInstancesWithRequestsOnTheirWay) {
  Pellion::Web::Utils::logCleanup();  // Its lines would take most of the time.
  serve("{}");
  PageObject* const pages[] = {browser.newFunction(), browser.newFunction()};
  const size_t threads = countThreads();
  const size_t descriptors = countDescriptors();
  for (int i = 0; i < 2000; ++i) {
    const PageObject* previous = pages[(i + 1) % 2];
    const size_t told = previous->calls().size();
    create();
    request(pages[i % 2], "/", 1 + i % 3);
    for (int turn = 0; turn < i % 97; ++turn) {
      std::this_thread::yield();
    }
    if (i % 3 == 0) {
      browser.pump();
    }
    ASSERT_EQ(told, previous->calls().size());
    browser.setPending(i % 10 == 0 ? FakeBrowser::Pending::kDropped
                                   : FakeBrowser::Pending::kDeliveredLate);
    destroy();
  }
  // The server may still be closing its last connection.
  EXPECT_TRUE(
      waitFor([&] { return countThreads() == threads && countDescriptors() == descriptors; }));
  expectLetGo(pages[0]);
  expectLetGo(pages[1]);
}

}  // namespace
