#include <gmock/gmock.h>

#include <climits>
#include <cstring>
#include <string>

#include "ovlib/overrno.h"
#include "ovlib/ovplatform.h"
#include "ovlib/ovstring.h"
#include "ovlib/ovutf8.h"
#include "tests/ovlib/LogFixture.h"

namespace {

TEST(Utf8, losesAnIncompleteEnd) {
  const struct {
    std::string text;
    int result;
    size_t length;
  } kCases[] = {{"", OV_OK, 0},
                {"a\xC3\xA9", OV_OK, 3},
                {"a\xC3", OV_OK, 1},
                {"a\xE2\x82", OV_OK, 1},
                {"a\xF0\x9F\x98\x80", OV_OK, 5},
                {"a\xF0\x9F\x98", OV_OK, 1},
                {"a\xFC\x84\x80\x80\x80\x80", OV_OK, 7},
                {"a\xFC\x84\x80\x80\x80", OV_OK, 1},
                {"a\x80", OV_EINVAL, 2}};
  for (const auto& c : kCases) {
    std::string text = c.text;
    size_t length = text.size();
    EXPECT_EQ(ov_utf8_trim_trailing_partial(text.data(), &length), c.result) << c.text;
    EXPECT_EQ(length, c.length) << c.text;
    EXPECT_EQ(text.c_str(), c.text.substr(0, c.length)) << c.text;
  }
}

using BoundedString = LogFixture;

TEST_F(BoundedString, isCopiedAndCutOnWholeCharacters) {
  const struct {
    const char* source;
    size_t size;
    int result;
    const char* expected;
  } kCases[] = {{"abc", 4, OV_OK, "abc"},
                {"a", 1, OV_EBUFFER, ""},
                {"\xC3\xA9\xC3\xA9", 5, OV_OK, "\xC3\xA9\xC3\xA9"},
                {"\xC3\xA9\xC3\xA9", 4, OV_EBUFFER, "\xC3\xA9"},
                {"\xE2\x82\xAC", 3, OV_EBUFFER, ""}};
  for (const auto& c : kCases) {
    std::string buffer(c.size, '#');
    EXPECT_EQ(ov_str_ncpy(buffer.data(), c.source, c.size), c.result) << c.source;
    EXPECT_STREQ(buffer.c_str(), c.expected);
  }
}

TEST_F(BoundedString, growsAtItsEnd) {
  char buffer[8] = "";
  size_t length = 0;
  EXPECT_EQ(ov_str_to(buffer, "abc", sizeof(buffer), &length), OV_OK);
  EXPECT_EQ(length, 3U);
  EXPECT_EQ(ov_str_to(buffer, "de\xE2\x82\xAC", sizeof(buffer), &length), OV_EBUFFER);
  EXPECT_STREQ(buffer, "abcde");
  EXPECT_EQ(length, 5U);
  EXPECT_EQ(ov_str_ncat(buffer, "fg", sizeof(buffer)), OV_OK);
  EXPECT_EQ(ov_str_ncat(buffer, "h", sizeof(buffer)), OV_EBUFFER);
  EXPECT_STREQ(buffer, "abcdefg");
}

TEST_F(BoundedString, refusesBadArgumentsWithALine) {
  ASSERT_EQ(start(), OV_OK);
  char buffer[8] = "abcdefg";
  size_t length = 8;
  EXPECT_EQ(ov_str_to(buffer, "text", sizeof(buffer), &length), OV_EINVAL);
  EXPECT_STREQ(buffer, "");
  EXPECT_EQ(ov_str_ncpy(buffer, nullptr, sizeof(buffer)), OV_EINVAL);
  EXPECT_EQ(ov_str_ncpy(nullptr, "text", 3), OV_EINVAL);
  buffer[0] = 'x';
  EXPECT_EQ(ov_str_ncpy(buffer, "text", 0), OV_EINVAL);
  EXPECT_EQ(buffer[0], 'x');
  EXPECT_THAT(test_support::readFile(member('0')),
              testing::ContainsRegex("ERR Warning: ov_str_to failure, args 0x[0-9a-f]+ 0x[0-9a-f]+ "
                                     "8 8 'text'\n"));
}

TEST(Decimal, isConverted) {
  EXPECT_EQ(ov_str_atoi("-7 OK"), -7);
  EXPECT_EQ(ov_str_atoi("x1"), 0);
  EXPECT_EQ(ov_str_atoi("2147483648"), INT_MAX);
  char buffer[5];
  EXPECT_STREQ(ov_str_itoa(-123, buffer, sizeof(buffer)), "-123");
  EXPECT_EQ(ov_str_itoa(12345, buffer, sizeof(buffer)), nullptr);
}

TEST(ErrorText, isFoundForEveryNumber) {
  const std::pair<int, std::string> kCases[] = {{OV_EHASHSUM, "Could not compute md5sum"},
                                                {28685, "Could not log message"},
                                                {28693, "Bad pathname"},
                                                {28694, strerror(28694)},
                                                {28671, strerror(28671)},
                                                {OV_ECONNREFUSED, strerror(ECONNREFUSED)}};
  char text[64];
  for (const auto& [code, expected] : kCases) {
    EXPECT_EQ(ov_platform_errstr(code, text, sizeof(text)), OV_OK) << code;
    EXPECT_EQ(text, expected);
  }
  EXPECT_EQ(ov_platform_errstr(OV_EBADPATHNAME, text, 4), OV_EBUFFER);
  EXPECT_STREQ(text, "Bad");
}

}  // namespace
