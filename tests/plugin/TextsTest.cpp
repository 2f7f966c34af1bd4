#include <gtest/gtest.h>

#include <stdexcept>

#include "plugin/src/Json.h"
#include "plugin/src/PathEscaper.h"
#include "plugin/src/Url.h"
#include "plugin/src/XmlEscaper.h"
#include "tests/plugin/LoggedSandbox.h"

namespace {

using Pellion::Web::Json;
using Pellion::Web::PathEscaper;
using Pellion::Web::XmlEscaper;

TEST(Url, isSplitAtItsDelimiters) {
  const struct {
    const char *text, *host;
    int port;
    const char *path = "", *query = "", *user = "", *password = "";
  } cases[] = {{"http://localhost:8080/a/b?x=1", "localhost", 8080, "a/b", "x=1"},
               {"http://u:p@host:1/x", "host", 1, "x", "", "u", "p"},
               {"http://127.0.0.1:4001/\n", "127.0.0.1", 4001, "\n"},
               // Ends without a slash.
               {"http://host:4001", "host", 4001},
               {"http://host", "host", 0},
               {"http://host?x=1", "host?x=1", 0},
               {"http://u@host", "u@host", 0, "", "", "u"},
               {"http://u:p@host", "u:p@host", 0, "", "", "u", "p"},
               // User information.
               {"http://a:b:c@host/", "host", 0, "", "", "b", "c"},
               {"http://host:1/x@y", "host:1", 0, "x@y", "", "host"},
               // A delimiter in front ends the scan.
               {"http:///path", "", 0},
               {"http://", "", 0},
               // Ports and queries.
               {"http://h:65537/", "h", 1},
               {"http://h:x/", "h", 0},
               {"http://h: 80x/", "h", 80},
               {"http://h/?a?b/c", "h", 0, "", "a?b/c"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const Pellion::Web::Url url(c.text);
    EXPECT_EQ(url.scheme(), "http");
    EXPECT_EQ(url.host(), c.host);
    EXPECT_EQ(url.port(0), c.port);
    EXPECT_EQ(url.path(), c.path);
    EXPECT_EQ(url.query(), c.query);
    EXPECT_EQ(url.user(), c.user);
    EXPECT_EQ(url.password(), c.password);
  }
}

TEST(Json, answersPaths) {
  Json json;
  ASSERT_TRUE(json.parse(R"({"a":{"text":"t\"\u00e9","number":1.50,"yes":true,"no":false,
                             "word":"true","list":["x"]},"text":"root"})"))
      << json.err();
  const struct {
    const char *key, *text;
    bool isTrue = false;
  } cases[] = {{"text", "t\"\xc3\xa9"}, {"number", "1.50"}, {"yes", "", true}, {"no", ""},
               {"word", "true"},        {"list", ""},       {"missing", ""}};
  const char* const root[] = {"a", nullptr};
  for (const auto& c : cases) {
    const char* const fromRoot[] = {"a", c.key, nullptr};
    const char* const below[] = {c.key, nullptr};
    EXPECT_EQ(json.getString(fromRoot), c.text) << c.key;
    EXPECT_EQ(json.getString(below, json.get(root)), c.text) << c.key;
    EXPECT_EQ(json.isTrue(fromRoot), c.isTrue) << c.key;
  }
}

TEST(Json, knowsAnErrorDocument) {
  const std::pair<const char*, bool> cases[] = {
      {R"({"error":null})", true},     {R"({"errors":1})", false}, {R"({"error":{"a":1}})", true},
      {R"({"a":{"error":1}})", false}, {R"(["error"])", false},    {R"("error")", false}};
  Json json;
  EXPECT_FALSE(json.containsError());
  for (const auto& [text, containsError] : cases) {
    ASSERT_TRUE(json.parse(text));
    EXPECT_EQ(json.containsError(), containsError) << text;
  }
}

TEST(Json, aFailedParseLeavesAMessageAndNoDocument) {
  Json json;
  for (const char* text : {"", "{'a':1}", R"({"a":)", "[1,]", "\"\\", "/* open", "]"}) {
    ASSERT_TRUE(json.parse(R"({"error":1})"));
    EXPECT_EQ(json.err(), "");
    EXPECT_FALSE(json.parse(text)) << text;
    EXPECT_NE(json.err(), "") << text;
    EXPECT_EQ(json.getNode(), nullptr);
  }
}

TEST(Json, refusesDocumentsOnlyForTheirRealDepth) {
  const std::string open(10000, '[');
  const std::string whole = open + std::string(10000, ']');
  const std::string part = whole.substr(1, 19998);
  const struct {
    const char* label;
    std::string text;
    bool accepted;
  } cases[] = {{"10000 levels", whole, true},
               {"10001 levels", "{\"a\":" + whole + "}", false},
               {"wide, not deep", "[" + part + ",{}," + part + "]", true},
               {"in a string", "[\"\\\"" + open + open + "\\\\\\\"\",1]", true},
               {"behind a backslash", "[\"\\\\\"," + whole + "]", false},
               {"in comments", "[/*" + open + open + "*\"/**/ // \"" + open + open + "\n1]", true},
               {"behind comments", "[/*\"*//**/" + whole + "]", false},
               {"no comment", "[\"/*\"," + whole + "]", false}};
  Json json;
  for (const auto& c : cases) {
    EXPECT_EQ(json.parse(c.text), c.accepted) << c.label << ": " << json.err();
    EXPECT_EQ(json.err(), c.accepted ? "" : "parse error: nested deeper than 10000 levels")
        << c.label;
  }
}

using ErrorDocument = LoggedSandbox;

TEST_F(ErrorDocument, holdsTheUnescapedMessageThatIsLogged) {
  const std::runtime_error exception("disk 100% \"full\" %s%n");
  const auto document = [](const std::string& message) {
    return R"({"error":{"code":-1,"user_message":")" + message + "\"}}";
  };
  EXPECT_EQ(Json::createErrorAndLog("x"), document("x"));
  EXPECT_EQ(Json::createErrorAndLog(exception), document("disk 100% \"full\" %s%n"));
  EXPECT_EQ(Json::createErrorAndLog(exception, "c"), document("c: disk 100% \"full\" %s%n"));
  for (const char* line : {"x", "disk 100% \"full\" %s%n", "c: disk 100% \"full\" %s%n"}) {
    EXPECT_EQ(logLines(std::string("ERR ") + line).size(), 1u) << line;
  }
  EXPECT_EQ(Json::createError(exception), document("disk 100% \"full\" %s%n"));
  EXPECT_EQ(Json::createError(exception, "c"), document("c: disk 100% \"full\" %s%n"));
}

TEST(PathEscaper, escapesToTheByte) {
  EXPECT_EQ(PathEscaper::toColonSeparatedStr({}), "");
  EXPECT_EQ(PathEscaper::toColonSeparatedStr({"/a:b", "/c"}), "/a\\:b:/c");
  EXPECT_EQ(PathEscaper::toColonSeparatedStr({"", "\\", ""}), ":\\\\:");
  EXPECT_EQ(PathEscaper::toJsonStr(std::vector<std::string>()), "[]");
  EXPECT_EQ(PathEscaper::toJsonStr(std::vector<std::string>{"/x", "/y"}), "[\"/x\",\"/y\"]");
  EXPECT_EQ(PathEscaper::toJsonStr("/a\"b:\n", false), "/a\"b:\n");
  EXPECT_EQ(PathEscaper::toJsonStr("c:\\d\xc3\xa9", true), "\"c:\\\\d\xc3\xa9\"");
  EXPECT_EQ(PathEscaper::toFileUrl("/home/u/f"), "file:///home/u/f");
  EXPECT_EQ(PathEscaper::toFileUrl("\\\\s\\a b%"), "file:////s/a b%");
  EXPECT_EQ(XmlEscaper::escape("a&b<c>d\"'&amp;"), "a&amp;b&lt;c&gt;d\"'&amp;amp;");
}

TEST(PathEscaper, replacesFromLeftToRightOnce) {
  const struct {
    const char *text, *from, *to, *expected;
  } cases[] = {{"abcabc", "b", "", "acac"}, {"aaa", "aa", "b", "ba"}, {"aa", "a", "aa", "aaaa"},
               {"text", "", "x", "text"},   {"", "a", "x", ""},       {"aab", "ab", "b", "ab"}};
  for (const auto& c : cases) {
    EXPECT_EQ(PathEscaper::strReplace(c.text, c.from, c.to), c.expected) << c.text;
  }
}

}  // namespace
