#include "browsers/npapi_common/EventHandler.h"
#include "tests/browsers/PluginFixture.h"

namespace {

using namespace test_support;

std::string errorDocument(const std::string& message) {
  return "{\"error\":{\"code\":-1,\"user_message\":\"" + message + "\"}}";
}

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
};

// What they answer, and the request that each makes, as its method, path and body.
TEST_F(PluginMethods, passTheirArgumentsOnAndAnswerWhatTheyAreTold) {
  create();
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
      {"startUploadToURL", {"/3", "ovtp://b/"}, "<src>file:///3</src><dest>ovtp://b/</dest>"},
      {"addToDownloadList", {"ovtp://a/gone"}},
      {"addToUploadList", {"/4"}},
      {"clearDownloadList", {}},
      {"addToDownloadList", {"ovtp://a/5"}},
      {"startListDownloadToPath", {""}, "<src>ovtp://a/5</src>"},
      {"startListUploadToURL", {"ovtp://c/"}, "<src>file:///4</src><dest>ovtp://c/</dest>"},
      {"clearUploadList", {}},
      {"startListUploadToURL", {"ovtp://d/"}, "<dest>ovtp://d/</dest>"},
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

// What the page's function answers, what the plugin gives back of it, and the blocks of browser
// memory that a call leaves behind.
TEST_F(PluginMethods, giveBackTheResultsOfPageFunctions) {
  serve("{}");
  create({{"drop-mode", "callback"}});
  PageObject* page = browser.newFunction();
  browser.setProperty(object, "dropObserver", page);
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
               {Untouched(), 1, 1, 0},
               {std::nullopt, 0, 0, 0}};
  for (const auto& row : cases) {
    SCOPED_TRACE(testing::Message() << "row " << &row - cases);
    page->function = [&](const PageArguments&) { return row.answer; };
    const size_t calls = page->calls().size();
    size_t blocks = browser.liveBlocks();
    size_t released = browser.releasedVariants().size();
    ASSERT_EQ(PageValue(Null()), call("pellionHttpRequestAsync", {"PUT", "/q", "[1]", page, 5}));
    ASSERT_TRUE(browser.pumpUntil([&] { return page->calls().size() == calls + 1; }));
    EXPECT_EQ("PUT /q [1]", sentRequests().back());
    EXPECT_EQ(released + row.releasedByCallback, browser.releasedVariants().size());
    EXPECT_EQ(PageArguments{"{}"}, page->calls().back());
    EXPECT_EQ(blocks + 2, browser.liveBlocks()) << "the argument's text and the result's memory";

    blocks = browser.liveBlocks();
    released = browser.releasedVariants().size();
    EventHandler::handleEvent(instance, page, eTransferEventType, "{}");
    EXPECT_EQ((PageArguments{"transfer", "{}"}), page->calls().back());
    EXPECT_EQ(released + row.releasedByEvent, browser.releasedVariants().size());
    EXPECT_EQ(blocks + row.leftByEvent, browser.liveBlocks());

    blocks = browser.liveBlocks();
    released = browser.releasedVariants().size();
    page->setMethod("onDrop", page->function);
    plugin->doDrop({"/a"});
    EXPECT_EQ(released + row.releasedByCallback + 1, browser.releasedVariants().size());
    EXPECT_EQ(NPVariantType_String, browser.releasedVariants().back()) << "the argument";
    EXPECT_EQ(blocks, browser.liveBlocks());
  }
  EXPECT_TRUE(logged(
      {"DBG RequestCallback::handleCallback() - response={}", "DBG callbackBrowser - msg={}"}));
  EventHandler::handleEvent(instance, nullptr, eDropEventType, "[]");
  g_NPNFuncs.memfree = nullptr;
  EventHandler::handleEvent(instance, page, eDropEventType, "[]");
  EXPECT_EQ((PageArguments{"drop", "[]"}), page->calls().back());
}

// Without a display no dialog can be shown, and the page hears so.
TEST_F(PluginMethods, reportADialogThatCannotBeShown) {
  create();
  PageObject* page = browser.newFunction();
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
    const size_t calls = page->calls().size();
    EXPECT_EQ(PageValue(""), call(row.method, row.arguments));
    EXPECT_EQ(1u, logLines("ERR " + error).size());
    EXPECT_EQ(PageValue(Null()), call(row.method + "Async", row.posted));
    ASSERT_TRUE(runUntil([&] { return page->calls().size() > calls; }));
    EXPECT_EQ(0u, std::get<std::string>(page->calls().back().at(0))
                      .find("{\"error\":{\"code\":-1,\"user_message\":\"" + error));
  }
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
  ASSERT_TRUE(runUntil([&] { return !next->calls().empty(); }));
  EXPECT_EQ(1u, page->calls().size());
  expectLetGo(page);
  expectLetGo(next);
}

}  // namespace
