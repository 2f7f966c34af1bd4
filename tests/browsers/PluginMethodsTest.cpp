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

std::string errorDocument(const std::string& message) {
  return "{\"error\":{\"code\":-1,\"user_message\":\"" + message + "\"}}";
}

const std::string kRequestError = errorDocument(
    "Error contacting Orvane Pellion. Ensure that it is running, and not blocked by your firewall "
    "or security policies.");

class PluginMethods : public PluginSandbox {
 protected:
  PluginMethods() { unsetenv("DISPLAY"); }

  // Method, path and body of what was sent, apart from what the plugin asks by itself.
  std::vector<std::string> sentRequests() const {
    std::vector<std::string> sent;
    for (const std::string& request : requestsFor("")) {
      if (request.find("/v4/") == std::string::npos) {
        sent.push_back(request.substr(0, request.find("HTTP/")) + bodyOf(request));
      }
    }
    return sent;
  }
  // Runs what was posted to the main loop until the condition holds.
  template <typename Condition>
  bool runMainLoopUntil(Condition condition) {
    return test_support::waitFor([&] {
      g_main_context_iteration(nullptr, FALSE);
      return condition();
    });
  }

  size_t kinds = 0;  // of dialogs that a test has asked for
};

TEST_F(PluginMethods, refuseArgumentsOfAnotherNumberOrKind) {
  serve("{}");
  create();
  NPWindow window = {};
  plugin->setWindow(&window, instance);
  const size_t requests = server->requestCount();
  PageObject* page = browser.newFunction();
  NPObject* f = page;
  const struct {
    std::vector<std::string> methods;
    std::vector<PageArguments> refused;
  } cases[] = {
      {{"queryBrowserEngine", "queryBuildVersion", "queryPluginVersion", "queryVersion"}, {{""}}},
      {{"queryPellionVersion", "displayTransferManager", "displayAboutWindow"}, {{Undefined()}}},
      {{"displayPreferencesWindow", "handleDrop", "clearDownloadList", "clearUploadList"}, {{1}}},
      {{"startDownload", "startListUploadToURL", "addToDownloadList", "addToUploadList"},
       {{}, {""}, {1}, {"a", "b"}}},
      {{"startListDownloadToPath", "runSaveFileDialog"}, {{}, {1}, {"a", "b"}}},
      {{"startDownloadToPath"}, {{}, {"a"}, {"", "b"}, {"a", 1}, {1, "b"}, {"a", "b", "c"}}},
      {{"startUploadToURL"}, {{}, {"a"}, {"", "b"}, {"a", ""}, {"a", 1}, {"a", "b", "c"}}},
      {{"initSession"}, {{}, {"a"}, {"a", 1}, {Null(), "b"}, {f, "b"}}},
      {{"pellionHttpRequest"}, {{}, {"GET", "/"}, {"GET", "/", 1}, {"GET", true, ""}}},
      {{"pellionHttpRequestAsync"}, {{}, {"GET", "/", ""}, {"GET", "/", "", "f"}}},
      {{"pellionHttpRequestAsync"}, {{"GET", "/", "", Null()}, {"GET", "/", 1, f}}},
      {{"runOpenFileDialog"}, {{}, {true}, {true, "yes"}, {1, true}, {true, true, 1}}},
      {{"runOpenFolderDialog"}, {{}, {"yes"}, {1}, {Null()}, {true, true}}},
      {{"runOpenFileDialogAsync"}, {{}, {"t", true, ""}, {1, true, "", f}, {"t", "no", "", f}}},
      {{"runOpenFileDialogAsync"}, {{"t", true, 1, f}, {"t", true, "", "f"}, {"", true, "", f, f}}},
      {{"runOpenFolderDialogAsync"}, {{}, {"t", true}, {1, true, f}, {"t", 0, f}}},
      {{"runOpenFolderDialogAsync"}, {{"t", true, "f"}, {"t", true, f, f}}},
      {{"runSaveFileDialogAsync"}, {{}, {"t", "n", ""}, {1, "n", "", f}, {"t", 1, "", f}}},
      {{"runSaveFileDialogAsync"}, {{"t", "n", 1, f}, {"t", "n", "", 1}, {"", "", "", f, f}}}};
  for (const auto& row : cases) {
    for (const std::string& method : row.methods) {
      const size_t before = logLines("DBG " + method + "(): argCount=").size();
      for (const PageArguments& arguments : row.refused) {
        EXPECT_EQ(std::nullopt, call(method, arguments)) << method << " " << arguments.size();
      }
      const size_t calls = logLines("DBG " + method + "(): argCount=").size();
      EXPECT_EQ(before + row.refused.size(), calls) << method;
      const bool saysSo = method.find("DialogAsync") != std::string::npos;
      EXPECT_EQ(saysSo ? calls : 0, logLines("ERR " + method + "() - invalid arguments").size());
    }
  }
  EXPECT_EQ(requests, server->requestCount());
  EXPECT_EQ(0, browser.retains(page));
}

// What they answer, and the request that each makes, as its method, path and body.
TEST_F(PluginMethods, passTheirArgumentsOnAndAnswerWhatTheyAreTold) {
  create();
  EXPECT_EQ(PageValue(kRequestError), call("pellionHttpRequest", {"GET", "/x", ""}));
  const std::string wrongHost =
      errorDocument("Invalid application ID hostname: www.orvane.example");
  const std::string session("{\"app_id\":\"^www.orvane.example\"}");
  const std::string start =
      "POST /transfers/ <xferreq xmlns=\"http://schema.orvane.example/xml/xferreq/\">";
  const std::string body("{\"answer\":\"\xE2\x82\xAC\"}");
  serve(body);
  const struct {
    const char* method;
    PageArguments arguments;
    const char* sent = nullptr;
    std::string answer = "";  // none for an undefined value
  } cases[] = {
      {"queryBrowserEngine", {}, nullptr, "Gecko"},
      {"queryBuildVersion", {}, nullptr, "3.1.1.70486"},
      {"queryPluginVersion", {}, nullptr, "3.1.1.70486"},
      {"queryVersion", {}, nullptr, "3.1"},
      {"queryPellionVersion", {}, nullptr, body},
      {"initSession", {"^a.example", "d"}, nullptr, wrongHost},
      {"initSession", {"^www.orvane.example", "d", 3}, nullptr, session},
      {"pellionHttpRequest", {"PUT", "/x?y=%20", "[1]", 4}, "PUT /x?y=%20 [1]", body},
      {"displayTransferManager", {}, "GET /windows/transfer-manager/ "},
      {"displayAboutWindow", {}, "GET /windows/about/ "},
      {"displayPreferencesWindow", {}, "GET /windows/preferences/ "},
      {"startDownload", {"ovtp://a/1"}, "<src>ovtp://a/1</src>"},
      {"startDownloadToPath", {"ovtp://a/2", ""}, "<src>ovtp://a/2</src>"},
      {"startDownloadToPath", {"ovtp://a/2", "/not/granted"}},
      {"startUploadToURL", {"/3", "ovtp://b/"}, "<src>file:///3</src><dest>ovtp://b/</dest>"},
      {"addToDownloadList", {"ovtp://a/gone"}},
      {"addToUploadList", {"/4"}},
      {"clearDownloadList", {}},
      {"addToDownloadList", {"ovtp://a/5"}},
      {"startListDownloadToPath", {""}, "<src>ovtp://a/5</src>"},
      {"startListUploadToURL", {"ovtp://c/"}, "<src>file:///4</src><dest>ovtp://c/</dest>"},
      {"clearUploadList", {}},
      {"startListUploadToURL", {"ovtp://c/"}, "<dest>ovtp://c/</dest>"},
  };
  for (const auto& row : cases) {
    const size_t before = sentRequests().size();
    const PageValue none = Undefined();
    EXPECT_EQ(row.answer.empty() ? none : row.answer, call(row.method, row.arguments))
        << row.method;
    const auto sent = sentRequests();
    ASSERT_EQ(before + (row.sent != nullptr), sent.size()) << row.method;
    if (row.sent != nullptr) {
      EXPECT_EQ(row.sent[0] == '<' ? start + row.sent + "</xferreq>" : row.sent, sent.back());
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
  PageObject* page = browser.newFunction();
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

TEST_F(PluginMethods, tellThePageOfARequestThatCannotBeMade) {
  create();
  PageObject* page = browser.newFunction();
  EXPECT_EQ(PageValue(errorDocument("Error creating HTTP request")),
            call("pellionHttpRequestAsync", {"GET", "/a", "", page}));
  expectLetGo(page);
  serve("{}");
  server.reset();
  EXPECT_EQ(PageValue(Null()), call("pellionHttpRequestAsync", {"GET", "/a", "", page}));
  EXPECT_TRUE(browser.pumpUntil([&] { return !page->calls().empty(); }));
  EXPECT_EQ(PageArguments{kRequestError}, page->calls()[0]);
}

// What the page's function answers, what the plugin gives back then, and the blocks of browser
// memory that a call leaves behind.
TEST_F(PluginMethods, giveBackTheResultsOfPageFunctions) {
  serve("{}");
  create();
  PageObject* page = browser.newFunction();
  const double fiveInTheLowWord = 2.0 + 5 * 4.440892098500626e-16;
  const struct {
    std::optional<PageValue> answer;
    size_t releasedByCallback;
    size_t releasedByEvent;
    size_t leftByEvent;
  } cases[] = {{Undefined(), 1, 1, 0},
               {Null(), 1, 1, 0},
               {"text", 1, 0, 1},
               {static_cast<NPObject*>(page), 1, 1, 0},
               {4, 1, 1, 0},
               {5, 0, 1, 0},
               {fiveInTheLowWord, 0, 1, 0},
               {test_support::Untouched(), 1, 1, 0},
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
  PageObject* page = browser.newFunction();
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
    bool isBoolean;
    bool truth;
    std::vector<PageValue> values;
  } cases[] = {{true, true, {true, "true", std::string("true\0x", 6)}},
               {true, false, {false, "false"}},
               {false, false, {"yes", "True", "", 1, Null()}}};
  for (const auto& row : cases) {
    for (const PageValue& value : row.values) {
      NPVariant variant = browser.makeVariant(value);
      EXPECT_EQ(row.isBoolean, npvariantIsBoolean(variant)) << value.index();
      EXPECT_EQ(row.truth, npvariantToBoolean(variant)) << value.index();
      browser.functions()->releasevariantvalue(&variant);
    }
  }
}

// Without a display no dialog can be shown, and the page hears so; in the last call it takes the
// instance away.
TEST_F(PluginMethods, reportADialogThatCannotBeShown) {
  create();
  PageObject* page = browser.newFunction([this](const PageArguments&) {
    if (kinds == 3) {
      destroy();
    }
    return PageValue(1);
  });
  const struct {
    std::string method;
    PageArguments arguments;
    PageArguments posted;
    std::string error;
  } cases[] = {
      {"runOpenFileDialog", {"true", false}, {"t", "false", "", page}, "open file"},
      {"runOpenFolderDialog", {"true"}, {"t", true, page}, "open folder"},
      {"runSaveFileDialog", {"a.txt"}, {"t", "", "", page}, "save file"},
  };
  for (const auto& row : cases) {
    const std::string error = "Error displaying " + row.error + " dialog: ";
    EXPECT_EQ(PageValue(""), call(row.method, row.arguments));
    EXPECT_EQ(1u, logLines("ERR " + error).size());
    EXPECT_EQ(PageValue(Null()), call(row.method + "Async", row.posted));
    ++kinds;
    ASSERT_TRUE(runMainLoopUntil([&] { return page->calls().size() == kinds; }));
    EXPECT_EQ(0u, std::get<std::string>(page->calls().back().at(0))
                      .find("{\"error\":{\"code\":-1,\"user_message\":\"" + error));
  }
  EXPECT_EQ(nullptr, plugin);
  expectLetGo(page);
}

TEST_F(PluginMethods, surviveTheEndOfTheInstanceBeforeADialogIsShown) {
  PageObject* page = browser.newFunction();
  const std::pair<const char*, PageArguments> cases[] = {
      {"runSaveFileDialog", {""}}, {"runSaveFileDialogAsync", {"", "", "", page}}};
  for (const auto& [method, arguments] : cases) {
    create();
    g_NPNFuncs.getvalue = [](NPP, NPNVariable, void*) -> NPError {
      destroyCurrent();
      return NPERR_GENERIC_ERROR;
    };
    EXPECT_NE(std::nullopt, call(method, arguments));
    EXPECT_EQ(nullptr, plugin);
    g_NPNFuncs = *browser.functions();
  }
  EXPECT_EQ(0, browser.retains(page));
  EXPECT_EQ(0u, logLines("ERR Error displaying ").size());
}

TEST_F(PluginMethods, refuseASecondDialogUntilThePageHearsOfTheFirst) {
  create();
  PageObject* next = browser.newFunction();
  PageObject* page = browser.newFunction([&](const PageArguments&) {
    EXPECT_EQ(PageValue(Null()), call("runSaveFileDialogAsync", {"t", "", "", next}));
    return PageValue(Undefined());
  });
  EXPECT_EQ(PageValue(Null()), call("runSaveFileDialogAsync", {"t", "", "", page}));
  for (const std::string method :
       {"runOpenFileDialog", "runOpenFolderDialog", "runSaveFileDialog"}) {
    EXPECT_EQ(PageValue(""), call(method)) << "asked before the arguments are looked at";
    EXPECT_EQ(PageValue(errorDocument("A dialog is already open")), call(method + "Async"));
  }
  ASSERT_TRUE(runMainLoopUntil([&] { return !next->calls().empty(); }));
  EXPECT_EQ(1u, page->calls().size());
  expectLetGo(page);
  expectLetGo(next);
}

}  // namespace
