#include <cstdlib>
#include <memory>

#include "browsers/npapi_common/ovUtility.h"
#include "plugin/src/Utils.h"
#include "tests/support/FakeBrowser.h"
#include "tests/support/Sandbox.h"

namespace {

using test_support::FakeBrowser;
using test_support::Null;
using test_support::PageArguments;
using test_support::PageObject;
using test_support::PageValue;
using test_support::Undefined;
using test_support::Untouched;

class Utility : public test_support::Sandbox {
 protected:
  Utility() : instance(browser.openInstance()) {
    g_NPNFuncs = *browser.functions();
    Pellion::Web::Utils::logInit();
  }
  ~Utility() override { Pellion::Web::Utils::logCleanup(); }

  FakeBrowser browser;
  NPP instance;
};

TEST_F(Utility, givesTheBrowserItsOwnCopyOfAText) {
  for (const std::string text : {"", "x",
                                 "gr\xC3\xB6\xC3\x9F"
                                 "er"}) {
    NPVariant variant;
    OW_CharPtrToNPStringVariant(text.c_str(), &variant);
    ASSERT_TRUE(NPVARIANT_IS_STRING(variant)) << text;
    ASSERT_NE(nullptr, NPVARIANT_TO_STRING(variant).UTF8Characters) << text;
    EXPECT_EQ(text.size(), NPVARIANT_TO_STRING(variant).UTF8Length);
    EXPECT_STREQ(text.c_str(), NPVARIANT_TO_STRING(variant).UTF8Characters);
    EXPECT_EQ(1u, browser.liveBlocks());
    browser.functions()->releasevariantvalue(&variant);
    EXPECT_EQ(0u, browser.liveBlocks());
  }
}

TEST_F(Utility, givesTheBrowserANullTextForNoTextAndForNoMemory) {
  for (const char* text : {static_cast<const char*>(nullptr), "text"}) {
    browser.failAllocation(1);
    NPVariant variant;
    OW_CharPtrToNPStringVariant(text, &variant);
    EXPECT_TRUE(NPVARIANT_IS_STRING(variant));
    EXPECT_EQ(nullptr, NPVARIANT_TO_STRING(variant).UTF8Characters);
    EXPECT_EQ(0u, NPVARIANT_TO_STRING(variant).UTF8Length);
  }
}

TEST_F(Utility, copiesAndTerminatesABrowserText) {
  const struct {
    NPString text;
    std::string copy;
  } cases[] = {{{"abcdef", 3}, "abc"}, {{"", 0}, ""}, {{nullptr, 0}, ""}};
  for (const auto& c : cases) {
    std::unique_ptr<char, decltype(&std::free)> copy(OW_NPStringToCharPtr(&c.text), std::free);
    EXPECT_STREQ(c.copy.c_str(), copy.get());
  }
}

TEST_F(Utility, readsThePagesHostName) {
  const struct {
    const char* label;
    PageValue location;
    PageValue hostname;
    const char* expected;
  } cases[] = {
      {"a name", PageValue(browser.location()), std::string("files.orvane.example"),
       "files.orvane.example"},
      {"a local file", PageValue(browser.location()), std::string(), "localhost"},
      {"no text", PageValue(browser.location()), 7, "localhost"},
      {"nothing stored", PageValue(browser.location()), Untouched(), "localhost"},
      {"undefined location", Undefined(), std::string("unused"), "localhost"},
      {"location not stored", Untouched(), std::string("unused"), "localhost"},
  };
  const uint32_t windowHolds = browser.window()->referenceCount;
  const uint32_t locationHolds = browser.location()->referenceCount;
  for (const auto& c : cases) {
    browser.window()->set("location", c.location);
    browser.location()->set("hostname", c.hostname);
    EXPECT_EQ(c.expected, OW_GetPageHostname(instance)) << c.label;
  }
  browser.window()->properties.clear();
  EXPECT_EQ("localhost", OW_GetPageHostname(instance));
  g_NPNFuncs.getvalue = [](NPP, NPNVariable, void*) { return NPERR_GENERIC_ERROR; };
  EXPECT_EQ("localhost", OW_GetPageHostname(instance));
  g_NPNFuncs.getvalue = [](NPP, NPNVariable, void*) { return NPERR_NO_ERROR; };
  EXPECT_EQ("localhost", OW_GetPageHostname(instance));

  EXPECT_EQ(windowHolds, browser.window()->referenceCount);
  EXPECT_EQ(locationHolds, browser.location()->referenceCount);
  EXPECT_EQ(0u, browser.liveBlocks());
  EXPECT_EQ(1u, logLines(" LOG Hostname: files.orvane.example").size());
  EXPECT_EQ(1u, logLines(" LOG Hostname: localhost").size());
}

TEST_F(Utility, serialisesAnObjectWithThePagesJson) {
  PageObject* json = browser.newObject();
  NPObject* subject = browser.newObject();
  browser.window()->set("JSON", PageValue(json));
  PageArguments seen;
  json->setMethod("stringify", [&](const PageArguments& arguments) {
    seen = arguments;
    return PageValue("{\"a\":1}");
  });
  NPString text = OW_JsonToString(instance, subject);
  EXPECT_EQ("{\"a\":1}", std::string(text.UTF8Characters, text.UTF8Length));
  EXPECT_EQ(PageArguments{subject}, seen);
  browser.functions()->memfree(const_cast<char*>(text.UTF8Characters));

  json->setMethod("stringify", [](const PageArguments&) { return Undefined(); });
  EXPECT_EQ(nullptr, OW_JsonToString(instance, subject).UTF8Characters);
  browser.window()->properties.clear();
  EXPECT_EQ(nullptr, OW_JsonToString(instance, subject).UTF8Characters);
  EXPECT_EQ(0u, browser.liveBlocks());
  EXPECT_EQ(1u, json->referenceCount);
  EXPECT_EQ(1u, subject->referenceCount);
}

TEST_F(Utility, hasNoObjectionToTheEventModel) {
  EXPECT_EQ(NPERR_NO_ERROR, OW_CocoaEventsSupportedCheck(instance));
}

}  // namespace
