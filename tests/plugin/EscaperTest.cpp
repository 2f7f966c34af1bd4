#include <gtest/gtest.h>

#include "plugin/src/PathEscaper.h"
#include "plugin/src/XmlEscaper.h"

namespace {

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
  } cases[] = {{"abcabc", "b", "", "acac"}, {"aaa", "aa", "b", "ba"}, {"aa", "a", "aa", "aaaa"},
               {"text", "", "x", "text"},   {"", "a", "x", ""},       {"aab", "ab", "b", "ab"}};
  for (const auto& c : cases) {
    EXPECT_EQ(PathEscaper::strReplace(c.text, c.from, c.to), c.expected) << c.text;
  }
}

}  // namespace
