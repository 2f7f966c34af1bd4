#include <gtest/gtest.h>

#include <stdexcept>

#include "plugin/src/Json.h"
#include "plugin/src/Utils.h"
#include "tests/support/Sandbox.h"

namespace {

using Pellion::Web::Json;

TEST(Json, answersPaths) {
  Json json;
  ASSERT_TRUE(json.parse(R"({"a":{"text":"t\"\u00e9","number":1.50,"yes":true,"no":false,
                             "word":"true","list":["x"]},"text":"root"})"))
      << json.err();
  const struct {
    const char* key;
    const char* text;
    bool isTrue;
  } cases[] = {{"text", "t\"\xc3\xa9", false},
               {"number", "1.50", false},
               {"yes", "", true},
               {"no", "", false},
               {"word", "true", false},
               {"list", "", false},
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
  const std::string open(10000, '[');
  const std::string whole = open + std::string(10000, ']');
  const struct {
    const char* label;
    std::string text;
    bool accepted;
  } cases[] = {
      {"10000 levels", whole, true},
      {"10001 levels", "{\"a\":" + whole + "}", false},
      {"a million open arrays", std::string(1000000, '['), false},
      {"wide, not deep", "[" + whole.substr(1, 19998) + ",{}," + whole.substr(1, 19998) + "]",
       true},
      {"in a string", "[\"\\\"" + open + open + "\\\\\\\"\",1]", true},
      {"behind a backslash", "[\"\\\\\"," + whole + "]", false},
      {"in comments", "[/*" + open + open + "*\"/**/ // \"" + open + open + "\n1]", true},
      {"behind comments", "[/*\"*//**/" + whole + "]", false},
      {"no comment", "[\"/*\"," + whole + "]", false},
  };
  Json json;
  for (const auto& c : cases) {
    EXPECT_EQ(json.parse(c.text), c.accepted) << c.label << ": " << json.err();
    EXPECT_EQ(json.err(), c.accepted ? "" : "parse error: nested deeper than 10000 levels")
        << c.label;
    EXPECT_EQ(json.getNode() != nullptr, c.accepted) << c.label;
  }
}

using JsonLog = test_support::Sandbox;

TEST_F(JsonLog, holdsTheUnescapedMessagesOfErrorDocuments) {
  Pellion::Web::Utils::logInit();
  const std::runtime_error exception("disk 100% \"full\" %s%n");
  EXPECT_EQ(Json::createErrorAndLog("x"), R"({"error":{"code":-1,"user_message":"x"}})");
  EXPECT_EQ(Json::createErrorAndLog(exception),
            R"({"error":{"code":-1,"user_message":"disk 100% "full" %s%n"}})");
  EXPECT_EQ(Json::createErrorAndLog(exception, "Save failed"),
            R"({"error":{"code":-1,"user_message":"Save failed: disk 100% "full" %s%n"}})");
  for (const char* line :
       {"x", "disk 100% \"full\" %s%n", "Save failed: disk 100% \"full\" %s%n"}) {
    EXPECT_EQ(logLines(std::string("ERR ") + line).size(), 1U) << line;
  }
  EXPECT_EQ(Json::createError(exception), Json::createErrorAndLog(exception));
  EXPECT_EQ(Json::createError(exception, "c"), Json::createErrorAndLog(exception, "c"));
  Pellion::Web::Utils::logCleanup();
}

}  // namespace
