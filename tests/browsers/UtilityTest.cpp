#include "tests/browsers/PluginFixture.h"

namespace {

using namespace test_support;

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
