#include <stdexcept>
#include <utility>

#include "tests/browsers/PluginFixture.h"

namespace {

using namespace test_support;

// What the browser's next allocation throws; null for nothing.
const char* nextFailure = nullptr;

class ScriptObject : public PluginSandbox {
 protected:
  ScriptObject() { create(); }
};

TEST_F(ScriptObject, hasThreePropertiesAndRefusesOtherNames) {
  const NPClass* operations = object->_class;
  NPVariant value;
  VOID_TO_NPVARIANT(value);
  for (const char* name : {"name", "dropObserver", "eventHandler"}) {
    EXPECT_TRUE(browser.hasProperty(object, name)) << name;
    EXPECT_FALSE(operations->removeProperty(object, browser.stringIdentifier(name))) << name;
  }
  for (const char* name : {"runopenfiledialog", "QueryVersion", "queryVersion ", "", "name"}) {
    EXPECT_FALSE(browser.hasMethod(object, name)) << name;
    EXPECT_EQ(std::nullopt, browser.call(object, name)) << name;
  }
  EXPECT_EQ(1u, logLines("OWScriptObjectInvoke - runopenfiledialog took ").size());
  for (const char* name : {"Name", "dropobserver", "eventHandler2", "", "queryVersion"}) {
    EXPECT_FALSE(browser.hasProperty(object, name)) << name;
    EXPECT_EQ(std::nullopt, browser.getProperty(object, name)) << name;
    EXPECT_FALSE(browser.setProperty(object, name, 1)) << name;
  }
  NPIdentifier number = browser.functions()->getintidentifier(0);
  EXPECT_FALSE(operations->hasMethod(object, number));
  EXPECT_FALSE(operations->hasProperty(object, number));
  EXPECT_FALSE(operations->invoke(object, number, nullptr, 0, &value));
  EXPECT_FALSE(operations->getProperty(object, number, &value));
  EXPECT_FALSE(operations->setProperty(object, number, &value));
  EXPECT_FALSE(operations->invokeDefault(object, nullptr, 0, &value));
  EXPECT_EQ(3u, operations->structVersion);
  EXPECT_EQ(nullptr, operations->enumerate);
  EXPECT_EQ(nullptr, operations->construct);
}

TEST_F(ScriptObject, turnsAStandardExceptionIntoAnErrorDocument) {
  g_NPNFuncs.memalloc = [](uint32_t size) {
    const char* text = std::exchange(nextFailure, nullptr);
    return text != nullptr ? throw std::runtime_error(text)
                           : FakeBrowser::current().functions()->memalloc(size);
  };
  nextFailure = "M 100%n";
  EXPECT_EQ(PageValue("{\"error\":{\"code\":-1,\"user_message\":\"M 100%n\"}}"),
            call("queryVersion"));
  EXPECT_EQ(1u, logLines(" ERR M 100%n").size());
  EXPECT_EQ(1u, logLines("OWScriptObjectInvoke - queryVersion took ").size());
  EXPECT_TRUE(browser.setProperty(object, "name", "x"));
  nextFailure = "no property";
  EXPECT_EQ(std::nullopt, browser.getProperty(object, "name"));
  EXPECT_EQ(1u, logLines(" ERR no property").size());
}

TEST_F(ScriptObject, hasItsHeaderFromTheStart) {
  destroy();
  browser.leaveHeaders();
  create();
  EXPECT_TRUE(call("queryVersion"));
}

TEST_F(ScriptObject, staysDeadWhenItsInstancesAddressIsUsedAgain) {
  NPObject* dead = object;
  const NPP address = instance;
  destroy();
  EXPECT_EQ(std::nullopt, browser.getProperty(dead, "name"));
  create();
  EXPECT_EQ(address, instance);
  EXPECT_EQ(std::nullopt, browser.call(dead, "queryVersion"));
  EXPECT_TRUE(call("queryVersion"));
}

TEST_F(ScriptObject, leavesItsNamesWithTheBrowserAndNothingElse) {
  const size_t blocks = browser.liveBlocks();
  const size_t names = browser.liveNames();
  EXPECT_TRUE(call("queryVersion"));
  EXPECT_TRUE(browser.setProperty(object, "name", "gr\xC3\xB6\xC3\x9F"));
  EXPECT_EQ(PageValue("gr\xC3\xB6\xC3\x9F"), browser.getProperty(object, "name"));
  EXPECT_EQ(blocks, browser.liveBlocks());
  EXPECT_EQ(names + 3, browser.liveNames());
  EXPECT_FALSE(browser.setProperty(object, "name", 7)) << "only a text is a name";
}

class Utility : public PluginSandbox {
 protected:
  Utility() { instance = browser.openInstance(); }
};

TEST_F(Utility, readsThePagesHostName) {
  const PageValue place(browser.location());
  const struct {
    PageValue location;
    PageValue hostname;
    const char* expected;
  } cases[] = {{place, "files.orvane.example", "files.orvane.example"},
               {place, "", "localhost"},  // a local file
               {place, 7, "localhost"},
               {place, Untouched(), "localhost"},
               {Undefined(), "unused", "localhost"},
               {Untouched(), "unused", "localhost"}};
  const uint32_t holds = browser.window()->referenceCount + browser.location()->referenceCount;
  for (const auto& row : cases) {
    browser.window()->set("location", row.location);
    browser.location()->set("hostname", row.hostname);
    EXPECT_EQ(row.expected, OW_GetPageHostname(instance)) << "row " << &row - cases;
  }
  browser.window()->properties.clear();
  EXPECT_EQ("localhost", OW_GetPageHostname(instance));
  g_NPNFuncs.getvalue = [](NPP, NPNVariable, void*) { return NPERR_NO_ERROR; };
  EXPECT_EQ("localhost", OW_GetPageHostname(instance)) << "no window stored";

  EXPECT_EQ(holds, browser.window()->referenceCount + browser.location()->referenceCount);
  EXPECT_EQ(0u, browser.liveBlocks());
  EXPECT_EQ(1u, logLines(" LOG Hostname: files.orvane.example").size());
}

TEST_F(Utility, serialisesAnObjectWithThePagesJson) {
  PageObject* json = browser.newObject();
  NPObject* subject = browser.newObject();
  browser.window()->set("JSON", PageValue(json));
  json->setMethod("stringify", [&](const PageArguments& arguments) {
    return PageValue(arguments == PageArguments{subject} ? "{\"a\":1}" : "");
  });
  NPString text = OW_JsonToString(instance, subject);
  EXPECT_EQ("{\"a\":1}", std::string(text.UTF8Characters, text.UTF8Length));
  browser.functions()->memfree(const_cast<char*>(text.UTF8Characters));
  browser.window()->properties.clear();
  EXPECT_EQ(nullptr, OW_JsonToString(instance, subject).UTF8Characters);
  EXPECT_EQ(0u, browser.liveBlocks());
  EXPECT_EQ(1u, json->referenceCount);
  EXPECT_EQ(1u, subject->referenceCount);
}

}  // namespace
