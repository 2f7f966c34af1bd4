#include <stdexcept>

#include "tests/browsers/PluginFixture.h"

namespace {

using namespace test_support;

class Plugin : public PluginSandbox {
 protected:
  Plugin() { unsetenv("DISPLAY"); }

  int32_t receive(const char* url, int32_t offset, const std::string& bytes) {
    NPStream stream = {};
    stream.url = url;
    return plugin->receiveOnStream(&stream, offset, static_cast<int32_t>(bytes.size()),
                                   const_cast<char*>(bytes.data()));
  }

  NPWindow window = {};
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

TEST_F(Plugin, holdsThePagesObjectsAndLetsThemGo) {
  create();
  const std::pair<const char*, std::string> cases[] = {{"dropObserver", "LOG Drop observer "},
                                                       {"eventHandler", "LOG Event handler "}};
  for (const auto& [name, line] : cases) {
    PageObject* first = browser.newFunction();
    PageObject* second = browser.newFunction();
    EXPECT_EQ(PageValue(Null()), browser.getProperty(object, name));
    EXPECT_TRUE(browser.setProperty(object, name, first));
    EXPECT_EQ(PageValue(static_cast<NPObject*>(first)), browser.getProperty(object, name));
    EXPECT_EQ(2u, first->referenceCount) << "each read gives the browser a reference of its own";
    EXPECT_TRUE(browser.setProperty(object, name, second));
    EXPECT_EQ(1u, first->referenceCount);
    EXPECT_TRUE(browser.setProperty(object, name, "text"));
    EXPECT_EQ(PageValue(Null()), browser.getProperty(object, name));
    expectLetGo(second);
    EXPECT_EQ(2u, logLines(line + "set").size());
    EXPECT_EQ(2u, logLines(line + "removed").size());
  }
}

TEST_F(Plugin, asksOnceForItsPicture) {
  create({{"image", "http://x/%n.png"}});
  EXPECT_TRUE(plugin->setWindow(nullptr, instance));
  EXPECT_EQ(std::nullopt, call("handleDrop")) << "there is no drop area yet";
  EXPECT_EQ(0u, browser.fetchedUrls().size());
  browser.setGetUrlResult(NPERR_GENERIC_ERROR);
  EXPECT_TRUE(plugin->setWindow(&window, instance));
  EXPECT_TRUE(plugin->setWindow(&window, instance));
  EXPECT_EQ(std::vector<std::string>{"http://x/%n.png"}, browser.fetchedUrls());
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
  EXPECT_TRUE(plugin->setWindow(&window, instance));
  EXPECT_TRUE(logged({"~ovOrvaneWebPlugin() - done", "WARNING: Unable to load image"}));
}

TEST_F(Plugin, takesTheBytesOfItsPictureAndNoOther) {
  const char* const url = "http://x/a.png";
  create({{"image", url}});
  plugin->setWindow(&window, instance);
  for (const char* other :
       {"http://x/b.png", "http://x/a.png?", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(-1, receive(other, 0, "x"));
  }
  EXPECT_EQ(-1, receive(url, -1, "x"));
  NPStream stream = {};
  stream.url = url;
  EXPECT_EQ(-1, plugin->receiveOnStream(&stream, 2147483647, -2147483647, nullptr));
  EXPECT_EQ(0, receive(url, 0, ""));
  EXPECT_EQ(4, receive(url, 100, "abcd"));
  EXPECT_EQ(3, receive(url, 0, "xyz"));
  EXPECT_TRUE(plugin->destroyStream(&stream, NPRES_NETWORK_ERR));
  EXPECT_TRUE(plugin->destroyStream(&stream, NPRES_DONE)) << "without a byte";
  EXPECT_EQ(5, receive(url, 1000, "again"));
  stream.url = "http://x/b.png";
  EXPECT_FALSE(plugin->destroyStream(&stream, NPRES_DONE));
}

// Paths: one without anything to escape, one with all that is escaped in either form.
class Drops : public Plugin {
 protected:
  // A page that notes in `heard` what it is told.
  void createWithPage(const Parameters& parameters) {
    create(parameters);
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
  for (const char* mode : {"", "Upload", "none", "upload"}) {
    EXPECT_EQ(0u, requestsFor("POST").size());
    createWithPage({{"drop-mode", mode}, {"drop-upload-url", "ovtp://up/"}});
    plugin->doDrop(paths);
    destroy();
  }
  EXPECT_EQ(0u, heard.size());
  ASSERT_EQ(1u, requestsFor("POST /transfers/").size());
  const std::string document = requestsFor("POST /transfers/")[0];
  for (const char* part : {"file:///a/b.txt", "file:///c:/d", "ovtp://up/"}) {
    EXPECT_NE(std::string::npos, document.find(part)) << part << " in " << document;
  }
}

TEST_F(Drops, reachWhoeverListens) {
  createWithPage({{"drop-mode", "callback"}});
  plugin->doDrop(paths);
  EXPECT_EQ((std::vector<PageArguments>{observerArguments, handlerArguments}), heard);
  browser.setProperty(object, "eventHandler", Null());
  answer = std::nullopt;
  plugin->doDrop({""});
  EXPECT_EQ(PageArguments{""}, heard.back());
  observer->methods.clear();
  plugin->doDrop(paths);
  browser.setProperty(object, "dropObserver", Null());
  plugin->doDrop(paths);
  EXPECT_EQ(3u, heard.size());
}

TEST_F(Drops, callNothingOnceTheInstanceEndsWhileItsObserverIsAsked) {
  createWithPage({{"drop-mode", "callback"}});
  g_NPNFuncs.hasmethod = [](NPP, NPObject*, NPIdentifier) { return destroyCurrent(), true; };
  plugin->doDrop(paths);
  EXPECT_EQ(nullptr, plugin);
  EXPECT_EQ(0u, heard.size());
  expectLetGo(observer);
  expectLetGo(handler);
}

}  // namespace
