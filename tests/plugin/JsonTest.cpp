#include <gtest/gtest.h>

#include <stdexcept>

#include "plugin/src/Json.h"
#include "plugin/src/Utils.h"
#include "tests/support/Sandbox.h"

namespace {

using Pellion::Web::Json;

std::string times(int count, const std::string& text) {
  std::string repeated;
  for (int i = 0; i < count; ++i) {
    repeated += text;
  }
  return repeated;
}

TEST(Json, answersPaths) {
  Json json;
  ASSERT_TRUE(json.parse(R"({"a":{"text":"t\"\u00e9","number":1.50,"big":123456789012345678901234,
                             "yes":true,"no":false,"word":"true","one":1,"list":["x"],"nil":null},
                             "text":"root"})"))
      << json.err();
  const struct {
    const char* key;
    const char* text;
    bool isTrue;
  } cases[] = {{"text", "t\"\xc3\xa9", false},
               {"number", "1.50", false},
               {"big", "123456789012345678901234", false},
               {"yes", "", true},
               {"no", "", false},
               {"word", "true", false},
               {"one", "1", false},
               {"list", "", false},
               {"nil", "", false},
               {"missing", "", false}};
  const char* const root[] = {"a", nullptr};
  for (const auto& c : cases) {
    const char* const fromRoot[] = {"a", c.key, nullptr};
    const char* const below[] = {c.key, nullptr};
    EXPECT_EQ(json.getString(fromRoot), c.text) << c.key;
    EXPECT_EQ(json.getString(below, json.get(root)), c.text) << c.key;
    EXPECT_EQ(json.isTrue(fromRoot), c.isTrue) << c.key;
    EXPECT_EQ(json.get(fromRoot) == nullptr, std::string(c.key) == "missing");
  }
  EXPECT_TRUE(YAJL_IS_OBJECT(json.getNode()));
  const char* const text[] = {"text", nullptr};
  EXPECT_EQ(json.getString(text), "root");
}

TEST(Json, knowsAnErrorDocument) {
  const struct {
    const char* text;
    bool containsError;
  } cases[] = {{R"({"error":null})", true}, {R"({"error":{"code":1}})", true},
               {R"({"errors":1})", false},  {R"({"a":{"error":1}})", false},
               {R"(["error"])", false},     {R"("error")", false}};
  Json json;
  EXPECT_FALSE(json.containsError());
  for (const auto& c : cases) {
    ASSERT_TRUE(json.parse(c.text));
    EXPECT_EQ(json.containsError(), c.containsError) << c.text;
  }
}

TEST(Json, aFailedParseLeavesAMessageAndNoDocument) {
  Json json;
  EXPECT_EQ(json.err(), "");
  for (const char* text : {"", "{'a':1}", R"({"a":)", "[1,]", "\"\\", "/* open", "]"}) {
    ASSERT_TRUE(json.parse(R"({"error":1})"));
    EXPECT_FALSE(json.parse(text)) << text;
    EXPECT_NE(json.err(), "") << text;
    EXPECT_EQ(json.getNode(), nullptr);
    EXPECT_FALSE(json.containsError());
  }
}

TEST(Json, refusesDocumentsOnlyForTheirRealDepth) {
  const std::string brackets(20000, '[');
  const struct {
    const char* label;
    std::string text;
    bool accepted;
  } cases[] = {
      {"10000 arrays", times(10000, "[") + times(10000, "]"), true},
      {"10001 arrays", times(10001, "[") + times(10001, "]"), false},
      {"10000 objects", times(10000, "{\"a\":") + "1" + times(10000, "}"), true},
      {"10001 levels, mixed", times(5000, "[{\"a\":") + "[]" + times(5000, "}]"), false},
      {"a million open arrays", std::string(1000000, '['), false},
      {"wide, not deep", "[" + times(20000, "[],{},") + "1]", true},
      {"in a string", "[\"" + brackets + "\"]", true},
      {"behind an escaped quote", "[\"\\\"" + brackets + "\\\\\\\"" + brackets + "\"]", true},
      {"in a key", "{\"" + brackets + "\":1}", true},
      {"behind a backslash", "[\"\\\\\"," + times(10000, "[") + times(10000, "]") + "]", false},
      {"in comments", "[/*" + brackets + "*\"/**/ // \"" + brackets + "\n1]", true},
      {"behind comments", "/*\"*//**/" + times(10001, "[") + times(10001, "]"), false},
      {"no comment", "[\"/*\"," + times(10000, "[") + times(10000, "]") + "]", false},
  };
  Json json;
  for (const auto& c : cases) {
    EXPECT_EQ(json.parse(c.text), c.accepted) << c.label << ": " << json.err();
    EXPECT_EQ(json.err(), c.accepted ? "" : "parse error: nested deeper than 10000 levels")
        << c.label;
    EXPECT_EQ(json.getNode() != nullptr, c.accepted) << c.label;
  }
}

TEST(Json, errorDocumentsCarryTheMessageAsItIs) {
  const std::runtime_error exception("disk full");
  EXPECT_EQ(Json::createError("x"), R"({"error":{"code":-1,"user_message":"x"}})");
  EXPECT_EQ(Json::createError("a\"\\%s"), R"({"error":{"code":-1,"user_message":"a"\%s"}})");
  EXPECT_EQ(Json::createError(exception), R"({"error":{"code":-1,"user_message":"disk full"}})");
  EXPECT_EQ(Json::createError(exception, "Save failed"),
            R"({"error":{"code":-1,"user_message":"Save failed: disk full"}})");
}

using JsonLog = test_support::Sandbox;

TEST_F(JsonLog, holdsTheMessagesOfErrorDocuments) {
  Pellion::Web::Utils::logInit();
  const std::runtime_error exception("100% of %s%n");
  EXPECT_EQ(Json::createErrorAndLog("m %d"), Json::createError("m %d"));
  EXPECT_EQ(Json::createErrorAndLog(exception), Json::createError(exception));
  EXPECT_EQ(Json::createErrorAndLog(exception, "c"), Json::createError(exception, "c"));
  for (const char* line : {"ERR m %d\n", "ERR 100% of %s%n\n", "ERR c: 100% of %s%n\n"}) {
    EXPECT_NE(logText().find(line), std::string::npos) << line;
  }
  Pellion::Web::Utils::logCleanup();
}

}  // namespace
