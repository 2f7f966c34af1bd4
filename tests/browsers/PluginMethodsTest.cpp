#include <glib.h>

#include "browsers/npapi_common/EventHandler.h"
#include "browsers/npapi_common/ScriptArguments.h"
#include "tests/browsers/PluginFixture.h"

namespace {

using test_support::bodyOf;
using test_support::httpResponse;
using test_support::Null;
using test_support::PageArguments;
using test_support::PageObject;
using test_support::PageValue;
using test_support::ScriptedServer;
using test_support::sendAll;
using test_support::Undefined;

const char kRequestError[] =
    "{\"error\":{\"code\":-1,\"user_message\":\"Error contacting Orvane Pellion. Ensure that it is "
    "running, and not blocked by your firewall or security policies.\"}}";
const char kOpenError[] = "{\"error\":{\"code\":-1,\"user_message\":\"A dialog is already open\"}}";

class PluginMethods : public PluginSandbox {
 protected:
  PluginMethods() { unsetenv("DISPLAY"); }

  PageObject* newFunction() { return browser.newFunction(); }
  // Runs what was posted to the main loop until the condition holds.
  template <typename Condition>
  bool runMainLoopUntil(Condition condition) {
    return test_support::waitFor([&] {
      g_main_context_iteration(nullptr, FALSE);
      return condition();
    });
  }
};

TEST_F(PluginMethods, refuseArgumentsOfAnotherNumberOrKind) {
  serve("{}");
  create();
  NPWindow window = {};
  plugin->setWindow(&window, instance);
  const size_t requests = server->requestCount();
  PageObject* page = newFunction();
  NPObject* f = page;
  const std::pair<const char*, std::vector<PageArguments>> cases[] = {
      {"initSession", {{}, {"a"}, {"a", 1}, {Null(), "b"}, {f, "b"}}},
      {"pellionHttpRequest", {{}, {"GET", "/"}, {"GET", "/", 1}, {"GET", true, ""}}},
      {"pellionHttpRequestAsync",
       {{}, {"GET", "/", ""}, {"GET", "/", "", "f"}, {"GET", "/", "", Null()}, {"GET", "/", 1, f}}},
      {"startDownload", {{}, {""}, {1}, {"a", "b"}}},
      {"startDownloadToPath", {{}, {"a"}, {"", "b"}, {"a", 1}, {1, "b"}, {"a", "b", "c"}}},
      {"startUploadToURL", {{}, {"a"}, {"", "b"}, {"a", ""}, {"a", 1}, {"a", "b", "c"}}},
      {"startListDownloadToPath", {{}, {1}, {"a", "b"}}},
      {"startListUploadToURL", {{}, {""}, {1}, {"a", "b"}}},
      {"addToDownloadList", {{}, {""}, {1}, {"a", "b"}}},
      {"addToUploadList", {{}, {""}, {1}, {"a", "b"}}},
      {"clearDownloadList", {{1}}},
      {"clearUploadList", {{1}}},
      {"handleDrop", {{1}}},
      {"queryBrowserEngine", {{1}}},
      {"queryBuildVersion", {{""}}},
      {"queryPluginVersion", {{Null()}}},
      {"queryVersion", {{Undefined()}}},
      {"queryPellionVersion", {{1}}},
      {"displayTransferManager", {{1}}},
      {"displayAboutWindow", {{1}}},
      {"displayPreferencesWindow", {{1}}},
      {"runOpenFileDialog",
       {{}, {true}, {true, "yes"}, {1, true}, {"True", true}, {true, true, 1}}},
      {"runOpenFolderDialog", {{}, {"yes"}, {1}, {Null()}, {true, true}}},
      {"runSaveFileDialog", {{}, {1}, {"a", "b"}}},
      {"runOpenFileDialogAsync",
       {{},
        {"t", true, ""},
        {1, true, "", f},
        {"t", "no", "", f},
        {"t", true, 1, f},
        {"t", true, "", "f"},
        {"t", true, "", f, f}}},
      {"runOpenFolderDialogAsync",
       {{}, {"t", true}, {1, true, f}, {"t", 0, f}, {"t", true, "f"}, {"t", true, f, f}}},
      {"runSaveFileDialogAsync",
       {{},
        {"t", "n", ""},
        {1, "n", "", f},
        {"t", 1, "", f},
        {"t", "n", 1, f},
        {"t", "n", "", 1},
        {"t", "n", "", f, f}}}};
  for (const auto& [method, lists] : cases) {
    for (const PageArguments& arguments : lists) {
      EXPECT_EQ(std::nullopt, call(method, arguments)) << method << " " << arguments.size();
    }
    const std::string name = method;
    EXPECT_EQ(lists.size(), logLines("DBG " + name + "(): argCount=").size());
    const bool said = name.find("DialogAsync") != std::string::npos;
    EXPECT_EQ(said ? lists.size() : 0u, logLines("ERR " + name + "() - invalid arguments").size());
  }
  EXPECT_EQ(requests, server->requestCount());
  EXPECT_EQ(0, browser.retains(page));
  EXPECT_EQ(27u, std::size(cases));
}

TEST_F(PluginMethods, openASessionOnce) {
  create();
  EXPECT_EQ(PageValue("{\"error\":{\"code\":-1,\"user_message\":\"Invalid application ID hostname: "
                      "www.orvane.example\"}}"),
            call("initSession", {"^orvane.example", "d"}));
  EXPECT_EQ(PageValue("{\"app_id\":\"^www.orvane.example\"}"),
            call("initSession", {"^www.orvane.example", "d", 3}));
  EXPECT_EQ(
      PageValue("{\"error\":{\"code\":-1,\"user_message\":\"Session was already initialized\"}}"),
      call("initSession", {"b", "d"}));
}

TEST_F(PluginMethods, passRequestsThrough) {
  create();
  EXPECT_EQ(PageValue(kRequestError), call("pellionHttpRequest", {"GET", "/x", ""}));
  serve("{\"answer\":\"\xE2\x82\xAC\"}");
  EXPECT_EQ(PageValue("{\"answer\":\"\xE2\x82\xAC\"}"),
            call("pellionHttpRequest", {"PUT", "/x?y=%20", "{\"a\":[1]}", 4}));
  ASSERT_EQ(1u, requestsFor("PUT /x?y=%20 HTTP/1.1\r\n").size());
  EXPECT_EQ("{\"a\":[1]}", bodyOf(requestsFor("PUT")[0]));
  EXPECT_EQ(PageValue("{\"answer\":\"\xE2\x82\xAC\"}"), call("queryPellionVersion"));
  const auto refused = call("pellionHttpRequest", {"PUT", "/x", "no json"});
  ASSERT_TRUE(refused);
  EXPECT_EQ(0u, std::get<std::string>(*refused).find(
                    "{\"error\":{\"code\":-1,\"user_message\":\"Error parsing JSON: "));
}

TEST_F(PluginMethods, answerQueriesAndOpenWindows) {
  serve("{}");
  create();
  const std::pair<const char*, const char*> texts[] = {{"queryBrowserEngine", "Gecko"},
                                                       {"queryBuildVersion", "3.1.1.70486"},
                                                       {"queryPluginVersion", "3.1.1.70486"},
                                                       {"queryVersion", "3.1"}};
  for (const auto& [method, text] : texts) {
    EXPECT_EQ(PageValue(text), call(method));
  }
  for (const char* method :
       {"displayTransferManager", "displayAboutWindow", "displayPreferencesWindow"}) {
    const size_t before = requestsFor("GET /windows/").size();
    EXPECT_EQ(PageValue(Undefined()), call(method));
    EXPECT_EQ(before + 1, requestsFor("GET /windows/").size()) << method;
  }
}

TEST_F(PluginMethods, startTransfers) {
  serve("{}");
  create();
  const struct {
    const char* method;
    PageArguments arguments;
    std::vector<std::string> parts;  // of the document that is posted; none for no document
  } cases[] = {
      {"startDownload", {"http://a/1"}, {"http://a/1"}},
      {"startDownloadToPath", {"http://a/2", ""}, {"http://a/2"}},
      {"startDownloadToPath", {"http://a/2", "/not/granted"}, {}},
      {"startUploadToURL", {"/up/3", "http://b/"}, {"file:///up/3", "http://b/"}},
      {"addToDownloadList", {"http://a/gone"}, {}},
      {"clearDownloadList", {}, {}},
      {"addToDownloadList", {"http://a/4"}, {}},
      {"addToDownloadList", {"http://a/5"}, {}},
      {"startListDownloadToPath", {""}, {"http://a/4", "http://a/5"}},
      {"addToUploadList", {"/up/gone"}, {}},
      {"clearUploadList", {}, {}},
      {"addToUploadList", {"/up/6"}, {}},
      {"startListUploadToURL", {"http://c/"}, {"file:///up/6", "http://c/"}},
  };
  for (const auto& row : cases) {
    const size_t before = requestsFor("POST /transfers/").size();
    EXPECT_EQ(PageValue(Undefined()), call(row.method, row.arguments)) << row.method;
    const auto posted = requestsFor("POST /transfers/");
    ASSERT_EQ(before + (row.parts.empty() ? 0 : 1), posted.size()) << row.method;
    for (const std::string& part : row.parts) {
      EXPECT_NE(std::string::npos, posted.back().find(part)) << posted.back();
    }
    if (!posted.empty()) {
      EXPECT_EQ(std::string::npos, posted.back().find("gone")) << posted.back();
    }
  }
}

TEST_F(PluginMethods, deliverTheAnswersOfQueuedRequestsInOrder) {
  serve([](int connection, const std::string& request, size_t) {
    if (request.find("/silent") == std::string::npos) {
      sendAll(connection, httpResponse(request.substr(0, request.find(" HTTP"))));
    }
  });
  create();
  PageObject* page = newFunction();
  for (const char* path : {"/a", "/silent", "/b"}) {
    EXPECT_EQ(PageValue(Null()), call("pellionHttpRequestAsync", {"GET", path, "", page, 5}));
  }
  EXPECT_TRUE(browser.pumpUntil([&] { return page->calls().size() == 3; }));
  EXPECT_EQ((std::vector<PageArguments>{{"GET /a"}, {kRequestError}, {"GET /b"}}), page->calls());
  EXPECT_TRUE(logged({"DBG RequestCallback::handleCallback() - response=GET /a",
                      "DBG RequestCallback::handleCallback() - response=GET /b"}));
  EXPECT_TRUE(logged({"DBG callbackBrowser - msg=GET /a", "DBG callbackBrowser - msg=GET /b"}));
  EXPECT_EQ(3, browser.retains(page));
  expectLetGo(page);
}

TEST_F(PluginMethods, answerAtOnceForARequestThatCannotBeQueued) {
  create();
  PageObject* page = newFunction();
  EXPECT_EQ(PageValue("{\"error\":{\"code\":-1,\"user_message\":\"Error creating HTTP request\"}}"),
            call("pellionHttpRequestAsync", {"GET", "/a", "", page}));
  expectLetGo(page);
}

TEST_F(PluginMethods, tellAWaitingPageThatTheApplicationHasGone) {
  serve("{}");
  create();
  server.reset();
  PageObject* page = newFunction();
  EXPECT_EQ(PageValue(Null()), call("pellionHttpRequestAsync", {"GET", "/a", "", page}));
  EXPECT_TRUE(browser.pumpUntil([&] { return !page->calls().empty(); }));
  EXPECT_EQ(PageArguments{kRequestError}, page->calls()[0]);
}

// What the page's function answers, what the plugin gives back then, and the blocks of browser
// memory that a call leaves behind.
TEST_F(PluginMethods, giveBackTheResultsOfPageFunctions) {
  serve("{}");
  create();
  PageObject* page = newFunction();
  const double fiveInTheLowWord = 2.0 + 5 * 4.440892098500626e-16;
  const struct {
    std::optional<PageValue> answer;
    size_t releasedByCallback;
    size_t releasedByEvent;
    size_t leftByEvent;
  } cases[] = {{PageValue(Undefined()), 1, 1, 0},
               {PageValue(Null()), 1, 1, 0},
               {PageValue("text"), 1, 0, 1},
               {PageValue(static_cast<NPObject*>(page)), 1, 1, 0},
               {PageValue(4), 1, 1, 0},
               {PageValue(5), 0, 1, 0},
               {PageValue(fiveInTheLowWord), 0, 1, 0},
               {PageValue(test_support::Untouched()), 1, 1, 0},
               {std::nullopt, 0, 0, 0}};
  for (const auto& row : cases) {
    SCOPED_TRACE(testing::Message() << "row " << &row - cases);
    page->function = [&](const PageArguments&) { return row.answer; };
    const size_t calls = page->calls().size();
    size_t blocks = browser.liveBlocks();
    size_t released = browser.releasedVariants().size();
    ASSERT_EQ(PageValue(Null()), call("pellionHttpRequestAsync", {"GET", "/", "", page}));
    ASSERT_TRUE(browser.pumpUntil([&] { return page->calls().size() == calls + 1; }));
    EXPECT_EQ(released + row.releasedByCallback, browser.releasedVariants().size());
    EXPECT_EQ(blocks + 2, browser.liveBlocks()) << "the argument's text and the result's memory";

    blocks = browser.liveBlocks();
    released = browser.releasedVariants().size();
    EventHandler::handleEvent(instance, page, eTransferEventType, "{}");
    EXPECT_EQ((PageArguments{"transfer", "{}"}), page->calls().back());
    EXPECT_EQ(released + row.releasedByEvent, browser.releasedVariants().size());
    EXPECT_EQ(blocks + row.leftByEvent, browser.liveBlocks());
  }
  EventHandler::handleEvent(instance, nullptr, eDropEventType, "[]");
  g_NPNFuncs.memfree = nullptr;
  EventHandler::handleEvent(instance, page, eDropEventType, "[]");
  EXPECT_EQ((PageArguments{"drop", "[]"}), page->calls().back());
}

TEST_F(PluginMethods, surviveABrowserWithoutMemory) {
  serve("{}");
  create();
  PageObject* page = newFunction();
  for (int n = 1; n <= 3; ++n) {
    const size_t calls = page->calls().size();
    EXPECT_EQ(PageValue(Null()), call("pellionHttpRequestAsync", {"GET", "/", "", page}));
    browser.failAllocation(n);
    EXPECT_TRUE(browser.pumpUntil([&] { return page->calls().size() == calls + 1; }));
    browser.failAllocation(n);
    EventHandler::handleEvent(instance, page, eDropEventType, "[]");
  }
  for (const char* method : {"queryVersion", "queryPellionVersion"}) {
    browser.failAllocation(1);
    EXPECT_EQ(PageValue(""), call(method));
  }
  browser.failAllocation(1);
  EXPECT_EQ(PageValue(""), browser.getProperty(object, "name"));
}

TEST_F(PluginMethods, readBooleansFromBooleansAndTheirWords) {
  const struct {
    PageValue value;
    bool isBoolean;
    bool truth;
  } cases[] = {{true, true, true},
               {false, true, false},
               {"true", true, true},
               {"false", true, false},
               {std::string("true\0x", 6), true, true},
               {"yes", false, false},
               {"True", false, false},
               {"", false, false},
               {1, false, false},
               {Null(), false, false}};
  for (const auto& row : cases) {
    NPVariant variant = browser.makeVariant(row.value);
    EXPECT_EQ(row.isBoolean, npvariantIsBoolean(variant)) << &row - cases;
    EXPECT_EQ(row.truth, npvariantToBoolean(variant)) << &row - cases;
    browser.functions()->releasevariantvalue(&variant);
  }
}

// Without a display no dialog can be shown, and the page hears so.
TEST_F(PluginMethods, reportADialogThatCannotBeShown) {
  create();
  const std::pair<const char*, PageArguments> dialogs[] = {{"runOpenFileDialog", {"true", false}},
                                                           {"runOpenFolderDialog", {"true"}},
                                                           {"runSaveFileDialog", {"a.txt"}}};
  const char* const errors[] = {
      "Error displaying open file dialog: ", "Error displaying open folder dialog: ",
      "Error displaying save file dialog: "};
  PageObject* page = newFunction();
  const std::pair<const char*, PageArguments> posted[] = {
      {"runOpenFileDialogAsync", {"t", "false", "", page}},
      {"runOpenFolderDialogAsync", {"t", true, page}},
      {"runSaveFileDialogAsync", {"t", "", "", page}}};
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(PageValue(""), call(dialogs[i].first, dialogs[i].second));
    EXPECT_EQ(1u, logLines("ERR " + std::string(errors[i])).size());
    EXPECT_EQ(PageValue(Null()), call(posted[i].first, posted[i].second));
    ASSERT_TRUE(runMainLoopUntil([&] { return page->calls().size() == i + 1; }));
    const std::string told = std::get<std::string>(page->calls()[i].at(0));
    EXPECT_EQ(0u, told.find("{\"error\":{\"code\":-1,\"user_message\":\"" + std::string(errors[i])))
        << told;
  }
  expectLetGo(page);
}

TEST_F(PluginMethods, refuseASecondDialogUntilThePageHearsOfTheFirst) {
  create();
  PageObject* page = newFunction();
  PageObject* next = newFunction();
  page->function = [&](const PageArguments&) {
    EXPECT_EQ(PageValue(Null()), call("runSaveFileDialogAsync", {"t", "", "", next}));
    return PageValue(Undefined());
  };
  EXPECT_EQ(PageValue(Null()), call("runSaveFileDialogAsync", {"t", "", "", page}));
  for (const char* method :
       {"runOpenFileDialogAsync", "runOpenFolderDialogAsync", "runSaveFileDialogAsync"}) {
    EXPECT_EQ(PageValue(kOpenError), call(method)) << "asked before the arguments are looked at";
  }
  for (const char* method : {"runOpenFileDialog", "runOpenFolderDialog", "runSaveFileDialog"}) {
    EXPECT_EQ(PageValue(""), call(method));
  }
  // Another instance may have one of its own.
  ovOrvaneWebPlugin* first = plugin;
  NPP firstInstance = instance;
  PageObject* elsewhere = newFunction();
  create();
  EXPECT_EQ(PageValue(Null()), call("runSaveFileDialogAsync", {"t", "", "", elsewhere}));
  destroy();
  expectLetGo(elsewhere);
  plugin = first;
  instance = firstInstance;
  object = plugin->objectForWebScript();

  ASSERT_TRUE(runMainLoopUntil([&] { return !next->calls().empty(); }));
  EXPECT_EQ(1u, page->calls().size());
  EXPECT_EQ(0u, elsewhere->calls().size());
  expectLetGo(page);
  expectLetGo(next);
}

}  // namespace
