#include <stdexcept>
#include <utility>

#include "tests/browsers/ModuleSandbox.h"

namespace {

using test_support::FakeBrowser;
using test_support::Null;
using test_support::PageValue;

const char* const kMethods[] = {"addToDownloadList",
                                "addToUploadList",
                                "clearDownloadList",
                                "clearUploadList",
                                "pellionHttpRequest",
                                "pellionHttpRequestAsync",
                                "displayAboutWindow",
                                "displayPreferencesWindow",
                                "displayTransferManager",
                                "handleDrop",
                                "initSession",
                                "queryBrowserEngine",
                                "queryBuildVersion",
                                "queryPluginVersion",
                                "queryVersion",
                                "queryPellionVersion",
                                "runOpenFileDialog",
                                "runOpenFileDialogAsync",
                                "runOpenFolderDialog",
                                "runOpenFolderDialogAsync",
                                "runSaveFileDialog",
                                "runSaveFileDialogAsync",
                                "startDownload",
                                "startDownloadToPath",
                                "startUploadToURL",
                                "startListDownloadToPath",
                                "startListUploadToURL"};

// What the browser's next allocation throws; null for nothing.
const char* nextFailure = nullptr;
void* (*allocate)(uint32_t size) = nullptr;

void* allocateOrThrow(uint32_t size) {
  if (const char* text = std::exchange(nextFailure, nullptr)) {
    throw std::runtime_error(text);
  }
  return allocate(size);
}

class ScriptObject : public ModuleSandbox {
 protected:
  ScriptObject() {
    allocate = std::exchange(browser.functions()->memalloc, allocateOrThrow);
    EXPECT_EQ(NPERR_NO_ERROR, initialize());
    instance = newInstance();
    object = browser.scriptObject(plugin, instance);
  }
  ~ScriptObject() override {
    if (instance != nullptr) {
      browser.destroyInstance(plugin, instance);
    }
  }
  void destroy() {
    browser.destroyInstance(plugin, instance);
    instance = nullptr;
  }

  NPP instance;
  NPObject* object;
};

// Every method writes its own name, so the log tells which member a name reached. None takes a
// single number.
TEST_F(ScriptObject, reachesEveryMethodByItsName) {
  for (const std::string method : kMethods) {
    EXPECT_TRUE(browser.hasMethod(object, method)) << method;
    EXPECT_EQ(std::nullopt, browser.call(object, method, {1})) << method;
    EXPECT_EQ(1u, logLines("DBG " + method + "(): argCount=1").size()) << method;
    EXPECT_EQ(1u, logLines("DBG OWScriptObjectInvoke - " + method + " took ").size()) << method;
  }
}

TEST_F(ScriptObject, refusesWhatItDoesNotHave) {
  for (const char* name : {"runopenfiledialog", "QueryVersion", "queryVersion ", "", "name",
                           "dropObserver", "eventHandler", "toString"}) {
    EXPECT_FALSE(browser.hasMethod(object, name)) << name;
    EXPECT_EQ(std::nullopt, browser.call(object, name)) << name;
  }
  for (const char* name : {"Name", "dropobserver", "eventHandler2", "", "queryVersion"}) {
    EXPECT_FALSE(browser.hasProperty(object, name)) << name;
    EXPECT_EQ(std::nullopt, browser.getProperty(object, name)) << name;
    EXPECT_FALSE(browser.setProperty(object, name, 1)) << name;
  }
  EXPECT_EQ(1u, logLines("OWScriptObjectInvoke - runopenfiledialog took ").size());
}

TEST_F(ScriptObject, knowsItsThreePropertiesAndKeepsThem) {
  const NPClass* operations = object->_class;
  NPVariant result;
  VOID_TO_NPVARIANT(result);
  for (const char* name : {"name", "dropObserver", "eventHandler"}) {
    EXPECT_TRUE(browser.hasProperty(object, name)) << name;
    EXPECT_FALSE(operations->removeProperty(object, browser.stringIdentifier(name))) << name;
  }
  EXPECT_FALSE(operations->invokeDefault(object, nullptr, 0, &result));
  EXPECT_EQ(3u, operations->structVersion);
  EXPECT_EQ(nullptr, operations->enumerate);
  EXPECT_EQ(nullptr, operations->construct);
  EXPECT_TRUE(browser.setProperty(object, "name", std::string("a page's name")));
  EXPECT_EQ(PageValue("a page's name"), browser.getProperty(object, "name"));
  EXPECT_EQ(PageValue(Null()), browser.getProperty(object, "dropObserver"));
  EXPECT_EQ(PageValue(Null()), browser.getProperty(object, "eventHandler"));
}

TEST_F(ScriptObject, refusesANumberAsAName) {
  NPIdentifier index = browser.functions()->getintidentifier(0);
  const NPClass* operations = object->_class;
  NPVariant value;
  VOID_TO_NPVARIANT(value);
  EXPECT_FALSE(operations->hasMethod(object, index));
  EXPECT_FALSE(operations->hasProperty(object, index));
  EXPECT_FALSE(operations->invoke(object, index, nullptr, 0, &value));
  EXPECT_FALSE(operations->getProperty(object, index, &value));
  EXPECT_FALSE(operations->setProperty(object, index, &value));
}

TEST_F(ScriptObject, turnsAStandardExceptionIntoAnErrorDocument) {
  nextFailure = "M 100%n";
  EXPECT_EQ(PageValue("{\"error\":{\"code\":-1,\"user_message\":\"M 100%n\"}}"),
            browser.call(object, "queryVersion"));
  EXPECT_EQ(1u, logLines(" ERR M 100%n").size());
  EXPECT_EQ(1u, logLines("OWScriptObjectInvoke - queryVersion took ").size());
  EXPECT_TRUE(browser.setProperty(object, "name", std::string("x")));
  nextFailure = "no property";
  EXPECT_EQ(std::nullopt, browser.getProperty(object, "name"));
  EXPECT_EQ(1u, logLines(" ERR no property").size());
}

TEST_F(ScriptObject, answersFalseOnceItsInstanceIsGone) {
  ASSERT_TRUE(browser.call(object, "queryVersion"));
  destroy();
  for (const char* method : kMethods) {
    EXPECT_EQ(std::nullopt, browser.call(object, method)) << method;
  }
  EXPECT_EQ(std::nullopt, browser.getProperty(object, "name"));
  EXPECT_FALSE(browser.setProperty(object, "name", std::string("late")));
  EXPECT_FALSE(browser.setProperty(object, "eventHandler", PageValue(browser.newFunction())));
  // A new instance at the same address does not revive it.
  instance = newInstance();
  EXPECT_EQ(std::nullopt, browser.call(object, "queryVersion"));
  EXPECT_TRUE(browser.call(browser.scriptObject(plugin, instance), "queryVersion"));
}

TEST_F(ScriptObject, leavesItsNamesWithTheBrowserAndNothingElse) {
  const size_t blocks = browser.liveBlocks();
  const size_t names = browser.liveNames();
  EXPECT_TRUE(browser.call(object, "queryVersion"));
  EXPECT_TRUE(browser.setProperty(object, "name", std::string("x")));
  EXPECT_TRUE(browser.getProperty(object, "name"));
  EXPECT_EQ(blocks, browser.liveBlocks());
  EXPECT_EQ(names + 3, browser.liveNames());
}

}  // namespace
