#include <gtest/gtest.h>

#include <random>

#include "plugin/src/Json.h"
#include "plugin/src/PathEscaper.h"
#include "plugin/src/XmlEscaper.h"

namespace {

using Pellion::Web::Json;
using Pellion::Web::PathEscaper;
using Pellion::Web::XmlEscaper;

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
  } cases[] = {{"abcabc", "b", "", "acac"},  {"aaa", "aa", "b", "ba"},   {"aa", "a", "aa", "aaaa"},
               {"a b", " ", "%20", "a%20b"}, {"text", "", "x", "text"},  {"", "a", "x", ""},
               {"aab", "ab", "b", "ab"},     {"abc", "abcd", "x", "abc"}};
  for (const auto& c : cases) {
    EXPECT_EQ(PathEscaper::strReplace(c.text, c.from, c.to), c.expected) << c.text;
  }
  const std::string zero("a\0b", 3);
  EXPECT_EQ(PathEscaper::strReplace(zero, std::string(1, '\0'), ":"), "a:b");
}

// Reads a colon-separated list back.
std::vector<std::string> splitColons(const std::string& joined) {
  std::vector<std::string> paths(1);
  for (size_t i = 0; i < joined.size(); ++i) {
    if (joined[i] == ':') {
      paths.emplace_back();
    } else {
      paths.back() += joined[i] == '\\' ? joined[++i] : joined[i];
    }
  }
  return paths;
}

std::string unescapeXml(std::string text) {
  const char* const entities[][2] = {{"&lt;", "<"}, {"&gt;", ">"}, {"&amp;", "&"}};
  for (const auto& entity : entities) {
    text = PathEscaper::strReplace(text, entity[0], entity[1]);
  }
  return text;
}

TEST(PathEscaper, losesNothingOfAPath) {
  const std::string pieces[] = {"\\", ":", "/", "a", " ", "'", "\xc3\xa9", "&", "<", ">", "amp;"};
  std::mt19937 random(7);
  for (int i = 0; i < 2000; ++i) {
    std::vector<std::string> paths(1 + random() % 4);
    for (std::string& path : paths) {
      for (size_t n = random() % 10; n > 0; --n) {
        path += pieces[random() % std::size(pieces)];
      }
      ASSERT_EQ(unescapeXml(XmlEscaper::escape(path)), path);
    }
    ASSERT_EQ(splitColons(PathEscaper::toColonSeparatedStr(paths)), paths);
    Json json;
    ASSERT_TRUE(json.parse(PathEscaper::toJsonStr(paths))) << json.err();
    ASSERT_EQ(YAJL_GET_ARRAY(json.getNode())->len, paths.size());
    for (size_t k = 0; k < paths.size(); ++k) {
      ASSERT_EQ(YAJL_GET_STRING(YAJL_GET_ARRAY(json.getNode())->values[k]), paths[k]);
    }
  }
}

}  // namespace
