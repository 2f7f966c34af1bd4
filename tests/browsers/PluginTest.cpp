#include <stdexcept>

#include "tests/browsers/PluginFixture.h"

namespace {

using test_support::countThreads;
using test_support::Null;
using test_support::PageArguments;
using test_support::PageObject;
using test_support::PageValue;
using test_support::Undefined;

class Plugin : public PluginSandbox {
 protected:
  Plugin() { unsetenv("DISPLAY"); }

  int32_t receive(const char* url, int32_t offset, const std::string& bytes) {
    NPStream stream = {};
    stream.url = url;
    return plugin->receiveOnStream(&stream, offset, static_cast<int32_t>(bytes.size()),
                                   const_cast<char*>(bytes.data()));
  }
  bool endStream(const char* url) {
    NPStream stream = {};
    stream.url = url;
    return plugin->destroyStream(&stream, NPRES_NETWORK_ERR);
  }
};

TEST_F(Plugin, startsAndEndsItsPartsInOrder) {
  serve("{}");
  browser.setUserAgent("Some SAFARI in Chrome's clothes");
  create();
  destroy();
  EXPECT_TRUE(
      logged({"DBG ovOrvaneWebPlugin() [0x", "DBG Plugin() [", "LOG Browser host: chrome",
              "LOG Hostname: www.orvane.example", "DBG PlugIn::init()", " OneShotManager()",
              "DBG TransferEventHandler() [", "::addListener()", "DBG ~ovOrvaneWebPlugin() [0x",
              "::removeListener() - removed", "DBG ~TransferEventHandler() [", "DBG ~Plugin() [",
              "DBG RunnableScheduler::stopRunnables()", " ~OneShotManager()",
              "DBG ~ovOrvaneWebPlugin() - done"}));
}

TEST_F(Plugin, readsTheLaunchTimeoutFromItsParameters) {
  serve("{}");
  const std::pair<const char*, const char*> cases[] = {
      {"abc", "20000"}, {"0", "0"},   {"1500", "1500"},  {"00", "20000"},
      {"12ms", "12"},   {"-5", "-5"}, {nullptr, "20000"}};
  for (const auto& [text, timeout] : cases) {
    create(text != nullptr ? Parameters{{"pellion-launch-wait-timeout-ms", text}} : Parameters());
    const std::string line = logLines("launchTimeoutMs=").back();
    EXPECT_EQ(timeout, line.substr(line.find('=') + 1)) << (text != nullptr ? text : "none");
    destroy();
  }
}

TEST_F(Plugin, leavesNothingRunningWhenItCannotBeMade) {
  serve("{}");
  const size_t threads = countThreads();
  g_NPNFuncs.getvalue = [](NPP, NPNVariable, void*) -> NPError {
    throw std::runtime_error("no %s window");
  };
  EXPECT_THROW(create(), std::runtime_error);
  EXPECT_EQ(1u, logLines("ERR Failed to initialize plugin: no %s window").size());

  g_NPNFuncs = *browser.functions();
  static NPObject* made;
  g_NPNFuncs.createobject = [](NPP owner, NPClass* objectClass) {
    return made = FakeBrowser::current().functions()->createobject(owner, objectClass);
  };
  g_NPNFuncs.uagent = [](NPP) -> const char* { return nullptr; };
  create();
  EXPECT_TRUE(logged({"LOG Browser host: \n"}));
  destroy();
  g_NPNFuncs.createobject = [](NPP, NPClass*) -> NPObject* {
    throw std::runtime_error("no object");
  };
  EXPECT_THROW(create(), std::runtime_error);
  EXPECT_EQ(threads, countThreads());
  EXPECT_EQ(std::nullopt, browser.call(made, "queryVersion"));
}

TEST_F(Plugin, hasANameThatOnlyTextsChange) {
  create();
  EXPECT_EQ(PageValue(""), browser.getProperty(object, "name"));
  EXPECT_TRUE(browser.setProperty(object, "name", "gr\xC3\xB6\xC3\x9F"));
  EXPECT_FALSE(browser.setProperty(object, "name", 7));
  EXPECT_FALSE(browser.setProperty(object, "name", Null()));
  EXPECT_EQ(PageValue("gr\xC3\xB6\xC3\x9F"), browser.getProperty(object, "name"));
}

TEST_F(Plugin, holdsThePagesObjectsAndLetsThemGo) {
  create();
  for (const std::string name : {"dropObserver", "eventHandler"}) {
    const std::string word = name == "dropObserver" ? "LOG Drop observer " : "LOG Event handler ";
    PageObject* first = browser.newFunction();
    PageObject* second = browser.newFunction();
    EXPECT_EQ(PageValue(Null()), browser.getProperty(object, name));
    EXPECT_TRUE(browser.setProperty(object, name, first));
    EXPECT_EQ(PageValue(static_cast<NPObject*>(first)), browser.getProperty(object, name));
    EXPECT_EQ(PageValue(static_cast<NPObject*>(first)), browser.getProperty(object, name));
    EXPECT_EQ(2u, first->referenceCount) << "each read gives the browser a reference of its own";
    EXPECT_TRUE(browser.setProperty(object, name, second));
    EXPECT_EQ(1u, first->referenceCount);
    EXPECT_TRUE(browser.setProperty(object, name, "text"));
    EXPECT_EQ(PageValue(Null()), browser.getProperty(object, name));
    expectLetGo(second);
    EXPECT_TRUE(browser.setProperty(object, name, Null()));
    EXPECT_EQ(2u, logLines(word + "set").size());
    EXPECT_EQ(2u, logLines(word + "removed").size());
    EXPECT_TRUE(browser.setProperty(object, name, first));
  }
}

TEST_F(Plugin, asksOnceForItsPicture) {
  create({{"image", "http://x/%n.png"}});
  EXPECT_TRUE(plugin->setWindow(nullptr, instance));
  EXPECT_EQ(std::nullopt, call("handleDrop")) << "there is no drop area yet";
  EXPECT_EQ(0u, browser.fetchedUrls().size());
  NPWindow window = {};
  browser.setGetUrlResult(NPERR_GENERIC_ERROR);
  EXPECT_TRUE(plugin->setWindow(&window, instance));
  EXPECT_TRUE(plugin->setWindow(&window, instance));
  ASSERT_EQ(1u, browser.fetchedUrls().size());
  EXPECT_EQ("http://x/%n.png", browser.fetchedUrls()[0].url);
  EXPECT_FALSE(browser.fetchedUrls()[0].hasTarget);
  EXPECT_EQ(1u, logLines("LOG WARNING: Unable to load image from URL: http://x/%n.png").size());
  EXPECT_EQ(PageValue(Undefined()), call("handleDrop"));
  EXPECT_EQ(std::nullopt, call("handleDrop", {1}));
  EXPECT_EQ(0, plugin->handleEvent(&window));
  destroy();

  create();
  plugin->setWindow(&window, instance);
  EXPECT_EQ(1u, browser.fetchedUrls().size());
}

TEST_F(Plugin, mayBeDestroyedWhileItAsksForItsPicture) {
  g_NPNFuncs.geturl = [](NPP, const char*, const char*) -> NPError {
    destroyCurrent();
    return NPERR_GENERIC_ERROR;
  };
  create({{"image", "http://x/a.png"}});
  NPWindow window = {};
  EXPECT_TRUE(plugin->setWindow(&window, instance));
  EXPECT_TRUE(logged({"~ovOrvaneWebPlugin() - done", "WARNING: Unable to load image"}));
}

TEST_F(Plugin, takesTheBytesOfItsPictureAndNoOther) {
  const char* const url = "http://x/a.png";
  create({{"image", url}});
  NPWindow window = {};
  plugin->setWindow(&window, instance);
  EXPECT_EQ(-1, receive("http://x/b.png", 0, "x"));
  EXPECT_EQ(-1, receive("http://x/a.png?", 0, "x"));
  EXPECT_EQ(-1, receive(nullptr, 0, "x"));
  EXPECT_EQ(-1, receive(url, -1, "x"));
  NPStream stream = {};
  stream.url = url;
  EXPECT_EQ(-1, plugin->receiveOnStream(&stream, 0, -1, nullptr));
  EXPECT_EQ(-1, plugin->receiveOnStream(&stream, 2147483647, -2147483647, nullptr));
  EXPECT_EQ(0, plugin->receiveOnStream(&stream, 0, 0, nullptr));
  EXPECT_EQ(4, receive(url, 100, "abcd"));
  EXPECT_EQ(3, receive(url, 0, "xyz"));
  EXPECT_FALSE(endStream("http://x/b.png"));
  EXPECT_TRUE(endStream(url));
  EXPECT_TRUE(endStream(url)) << "without a byte";
  EXPECT_EQ(5, receive(url, 1000, "again"));
}

// Paths: one without anything to escape, one with all that is escaped in either form.
class Drops : public Plugin {
 protected:
  // A page that notes in `heard` what it is told.
  void setPage() {
    observer = browser.newObject();
    observer->setMethod("onDrop", [this](const PageArguments& arguments) {
      heard.push_back(arguments);
      return answer;
    });
    handler = browser.newFunction([this](const PageArguments& arguments) {
      heard.push_back(arguments);
      return PageValue(Undefined());
    });
    browser.setProperty(object, "dropObserver", observer);
    browser.setProperty(object, "eventHandler", handler);
  }

  const std::vector<std::string> paths = {"/a/b.txt", "/c:\\d"};
  const PageArguments observerArguments = {"/a/b.txt:/c\\:\\\\d"};
  const PageArguments handlerArguments = {"drop", "[\"/a/b.txt\",\"/c:\\\\d\"]"};
  PageObject* observer = nullptr;
  PageObject* handler = nullptr;
  std::optional<PageValue> answer = PageValue(Undefined());
  std::vector<PageArguments> heard;
};

TEST_F(Drops, goWhereTheModeSays) {
  serve("{}");
  for (const char* mode : {"", "Upload", "none"}) {
    create({{"drop-mode", mode}});
    setPage();
    plugin->doDrop(paths);
    destroy();
  }
  EXPECT_EQ(0u, heard.size());
  EXPECT_EQ(0u, requestsFor("POST").size());

  create({{"drop-mode", "upload"}, {"drop-upload-url", "ovtp://up/"}});
  setPage();
  plugin->doDrop(paths);
  ASSERT_EQ(1u, requestsFor("POST /transfers/").size());
  const std::string document = requestsFor("POST /transfers/")[0];
  for (const char* part : {"file:///a/b.txt", "file:///c:/d", "ovtp://up/"}) {
    EXPECT_NE(std::string::npos, document.find(part)) << part << " in " << document;
  }
  EXPECT_EQ(0u, heard.size());
  destroy();

  create({{"drop-mode", "callback"}});
  setPage();
  plugin->doDrop(paths);
  EXPECT_EQ((std::vector<PageArguments>{observerArguments, handlerArguments}), heard);
}

TEST_F(Drops, reachWhoeverListens) {
  create({{"drop-mode", "callback"}});
  plugin->doDrop(paths);
  setPage();
  observer->methods.clear();
  plugin->doDrop(paths);
  EXPECT_EQ(std::vector<PageArguments>{handlerArguments}, heard);
  setPage();
  browser.setProperty(object, "eventHandler", Null());
  answer = std::nullopt;
  plugin->doDrop({""});
  EXPECT_EQ(PageArguments{""}, heard.back());
  EXPECT_EQ(2u, heard.size());
}

TEST_F(Drops, giveBackWhatTheyTookFromTheBrowser) {
  create({{"drop-mode", "callback"}});
  setPage();
  browser.setProperty(object, "eventHandler", Null());
  using Types = std::vector<NPVariantType>;
  const std::pair<std::optional<PageValue>, Types> cases[] = {
      {PageValue("text"), {NPVariantType_String, NPVariantType_String}},
      {PageValue(5), {NPVariantType_String}},
      {std::nullopt, {NPVariantType_String}},
      {PageValue(test_support::Untouched()), {NPVariantType_Void, NPVariantType_String}},
  };
  for (const auto& [returned, released] : cases) {
    answer = returned;
    const size_t blocks = browser.liveBlocks();
    const auto before = static_cast<long>(browser.releasedVariants().size());
    plugin->doDrop(paths);
    const Types& all = browser.releasedVariants();
    EXPECT_EQ(released, Types(all.begin() + before, all.end()));
    EXPECT_EQ(blocks, browser.liveBlocks());
  }
}

TEST_F(Drops, surviveTheEndOfTheInstanceInAnyCall) {
  const auto end = [this](const PageArguments&) {
    destroy();
    return PageValue("gone");
  };
  for (const std::string call : {"hasmethod", "onDrop", "event"}) {
    create({{"drop-mode", "callback"}});
    setPage();
    if (call == "hasmethod") {
      g_NPNFuncs.hasmethod = [](NPP, NPObject*, NPIdentifier) { return destroyCurrent(), true; };
    } else if (call == "onDrop") {
      observer->setMethod("onDrop", end);
    } else {
      handler->function = end;
    }
    plugin->doDrop(paths);
    EXPECT_EQ(nullptr, plugin);
    EXPECT_EQ(call == "event" ? 1u : 0u, heard.size()) << "nothing is called after " << call;
    expectLetGo(observer);
    expectLetGo(handler);
    g_NPNFuncs = *browser.functions();
  }
}

// The plugin's own reference goes in the call, then the page's: the call itself must hold one.
TEST_F(Drops, surviveAPageThatForgetsItsObjectsInTheCall) {
  create({{"drop-mode", "callback"}});
  setPage();
  observer->setMethod("onDrop", [this](const PageArguments&) {
    browser.setProperty(object, "dropObserver", Null());
    EXPECT_EQ(2u, observer->referenceCount);
    browser.dropObject(observer);
    return PageValue(Undefined());
  });
  handler->function = [this](const PageArguments&) {
    browser.setProperty(object, "eventHandler", Null());
    EXPECT_EQ(2u, handler->referenceCount);
    browser.dropObject(handler);
    return PageValue(1);
  };
  plugin->doDrop(paths);
  EXPECT_EQ(PageValue(Null()), browser.getProperty(object, "dropObserver"));
  EXPECT_EQ(PageValue(Null()), browser.getProperty(object, "eventHandler"));
}

TEST_F(Drops, surviveABrowserWithoutMemory) {
  create({{"drop-mode", "callback"}});
  setPage();
  answer = PageValue("text");
  const size_t blocks = browser.liveBlocks();
  for (int n = 1; n <= 6; ++n) {
    browser.failAllocation(n);
    plugin->doDrop(paths);
    EXPECT_EQ(blocks, browser.liveBlocks()) << n;
  }
  EXPECT_EQ(12u, heard.size());
}

}  // namespace
