#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>

#include "ovlib/overrno.h"
#include "ovlib/ovplatform.h"
#include "tests/ovlib/LogFixture.h"

namespace fs = std::filesystem;

namespace {

using test_support::readFile;
using test_support::writeFile;

constexpr uintmax_t kMebibyte = 1024 * 1024;

class LogRing : public LogFixture {
 protected:
  void emptyDirectory() const {
    fs::remove_all(path("log"));
    fs::create_directory(path("log"));
  }
  // Digits of the members that exist.
  std::string members() const {
    std::string digits;
    for (char digit = '0'; digit <= '9'; ++digit) {
      digits += fs::exists(member(digit)) ? std::string(1, digit) : "";
    }
    return digits;
  }
  // The member that got a line of this name.
  char memberWith(const std::string& line) const {
    for (char digit = '0'; digit <= '9'; ++digit) {
      if (readFile(member(digit)).find("LOG " + line + "\n") != std::string::npos) {
        return digit;
      }
    }
    return '-';
  }
  bool baseNames(char digit) const {
    return fs::exists(logPath("plugin.log")) &&
           fs::equivalent(logPath("plugin.log"), member(digit));
  }
};

TEST_F(LogRing, startsInTheMemberThatIsCurrent) {
  const struct {
    const char *present, *full;  // digits
    char current;
    const char* left;
    bool linked;
  } kCases[] = {{"", "", '0', "0", true},
                {"56", "", '6', "56", false},
                {"01356", "", '1', "01356", false},
                {"0123456789", "", '9', "0123456789", false},
                {"0124", "2", '3', "0123", true},
                {"0123456789", "9", '0', "023456789", true},
                {"0123456789", "09", '1', "013456789", true}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(std::string(c.present) + " full " + c.full);
    emptyDirectory();
    // None of the ring's.
    for (const char* other : {"plugin.x.log", "plugin.10.log", "plugin.3.lag", "blugin.4.log"}) {
      writeFile(logPath(other), "");
    }
    writeFile(logPath("plugin.log"), "somebody's");
    for (const char digit : std::string(c.present)) {
      writeFile(member(digit), "old\n");
    }
    for (const char digit : std::string(c.full)) {
      fs::resize_file(member(digit), kMebibyte);
    }
    ASSERT_EQ(start(":1"), OV_OK);
    ov_log("line of %s%s", c.present, c.full);
    ov_log_cleanup();
    EXPECT_EQ(memberWith(std::string("line of ") + c.present + c.full), c.current);
    EXPECT_EQ(members(), c.left);
    EXPECT_EQ(baseNames(c.current), c.linked);
  }
}

TEST_F(LogRing, turnsWhenAFileIsOverTheLimit) {
  ASSERT_EQ(start(":1"), OV_OK);
  ov_log("a");
  const uintmax_t line = fs::file_size(member('0'));
  fs::resize_file(member('0'), kMebibyte - line);
  ov_log("b");
  EXPECT_EQ(fs::file_size(member('0')), kMebibyte);
  ov_log("c");
  ov_log("d");
  EXPECT_EQ(memberWith("c"), '0');
  EXPECT_EQ(memberWith("d"), '1');
  EXPECT_TRUE(baseNames('1'));
}

TEST_F(LogRing, takesALimitFromTheName) {
  const struct {
    const char* suffix;
    unsigned size;  // mebibytes that member 0 has already
    const char* members;
  } kCases[] = {{"", 10, "01"},
                {":25", 24, "0"},
                {":25", 25, "01"},
                {":0", 10, "01"},
                {":536870911", 11, "0"},
                {":536870912", 10, "01"},
                {":18446744073709551621", 9, "0"}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(std::string(c.suffix) + " " + std::to_string(c.size));
    emptyDirectory();
    ov_log_set_logfile_size(10);
    writeFile(member('0'), "");
    fs::resize_file(member('0'), c.size * kMebibyte);
    ASSERT_EQ(start(c.suffix), OV_OK);
    ov_log_cleanup();
    EXPECT_EQ(members(), c.members);
  }
  EXPECT_EQ(ov_log_set_logfile_size(4096), OV_EINVAL);
  EXPECT_EQ(ov_log_set_logfile_size(0), OV_EINVAL);
}

TEST_F(LogRing, namesItsMembersAfterTheBaseName) {
  const std::pair<const char*, const char*> kCases[] = {
      {"/plain", "plain.0"},     {"/a.tar.gz", "a.tar.0.gz"}, {"\\back.log", "back.0.log"},
      {"/a:7b.log", "ab.0.log"}, {"/a:b.log", "a:b.0.log"},   {"/a:7:b", "a:7:b.0"}};
  for (const auto& [name, member] : kCases) {
    ASSERT_EQ(ov_log_init(OV_LOG_FILE, (path("log") + name).c_str()), OV_OK) << name;
    EXPECT_TRUE(fs::exists(logPath(member))) << name;
    ov_log_cleanup();
  }
}

TEST_F(LogRing, livesUnderTheRootWithoutADirectory) {
  const std::string name = "ring-test-" + std::to_string(getpid());
  char root[4096];
  ASSERT_EQ(ov_platform_root(root, sizeof(root)), OV_OK);
  const fs::path base = fs::path(root) / "var/log" / name;
  EXPECT_EQ(ov_log_init(OV_LOG_FILE, name.c_str()), OV_OK);
  EXPECT_TRUE(fs::remove(base));
  EXPECT_TRUE(fs::remove(base.string() + ".0"));
  std::error_code not_empty;
  fs::remove(base.parent_path(), not_empty);
  fs::remove(base.parent_path().parent_path(), not_empty);
}

TEST_F(LogRing, isNotStartedAgainUntilItsEnd) {
  ASSERT_EQ(start(), OV_OK);
  EXPECT_EQ(ov_log_init(OV_LOG_FILE, logPath("other.log").c_str()), OV_OK);
  EXPECT_EQ(ov_log_init(OV_LOG_FILE, nullptr), OV_OK);
  ov_log("here");
  EXPECT_EQ(memberWith("here"), '0');
  EXPECT_FALSE(fs::exists(logPath("other.log")));
}

TEST_F(LogRing, dropsItsLinesAfterAFailedStart) {
  fs::create_directory(member('0'));
  const std::pair<std::string, int> kCases[] = {{"/" + std::string(8192, 'x'), OV_EPATHMAX},
                                                {"/" + std::string(8191, 'x'), OV_EPATHMAX},
                                                {path("missing/plugin.log"), OV_ENOENT},
                                                {logPath("plugin.log"), OV_EINVAL}};
  EXPECT_EQ(ov_log_rotate(), OV_EINVAL);
  EXPECT_EQ(ov_log_init(OV_LOG_FUNCTION, "name"), OV_EINVAL);
  EXPECT_EQ(ov_log_init(OV_LOG_FILE, nullptr), OV_EINVAL);
  EXPECT_EQ(start(), OV_OK) << "a failed start is not tried again";
  for (const auto& [name, result] : kCases) {
    ov_log_cleanup();
    EXPECT_EQ(ov_log_init(OV_LOG_FILE, name.c_str()), result);
    EXPECT_EQ(ov_log("dropped"), OV_OK);
  }
  fs::remove(member('0'));
  ov_log("dropped still");
  EXPECT_EQ(members(), "");
  ov_log_cleanup();
  ASSERT_EQ(start(), OV_OK);
  ov_log("heard");
  EXPECT_EQ(memberWith("heard"), '0');
}

}  // namespace
