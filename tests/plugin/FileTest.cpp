#include <gtest/gtest.h>

#include <stdexcept>

#include "ovlib/ovlog.h"
#include "plugin/src/File.h"
#include "plugin/src/FileSystem.h"
#include "plugin/src/Pellion.h"
#include "plugin/src/Url.h"
#include "plugin/src/Utils.h"
#include "tests/support/Sandbox.h"

namespace {

using Pellion::Web::PellionApp;
namespace PluginUtils = Pellion::Web::Utils;

// Its log starts without asking for the home directory.
class FileSystem : public test_support::Sandbox {
 protected:
  using Paths = Pellion::Web::FileSystem;

  FileSystem() {
    ov_log_init(OV_LOG_FILE, dataPath("var/log/orvane-pellion-browser-plugin.log").c_str());
    ov_dbg_set(3);
    ov_dbg_set_all(3);
  }
  ~FileSystem() override { ov_log_cleanup(); }
  void SetUp() override { test_support::skipWhereAnApplicationIsInstalled(); }
};

TEST_F(FileSystem, buildsEachPathOnceBelowTheHomeDirectoryButThePluginsOwn) {
  EXPECT_EQ(Paths::logPath(),
            home() + "/.orvane/pellion/var/log/orvane-pellion-browser-plugin.log");
  setenv("HOME", "/elsewhere", 1);
  EXPECT_EQ(Paths::appDataPath(), home() + "/");
  EXPECT_EQ(Paths::pellionAppDataPath(), home() + "/.orvane/pellion");
  EXPECT_EQ(Paths::pluginPath(), "");
  EXPECT_EQ(logLines("Application data directory: " + home() + "/").size(), 1u);
  ov_log("between");  // so that the log does not fold the two
  EXPECT_EQ(Paths::pluginPath(), "");
  EXPECT_EQ(logLines("Browser plugin directory: ").size(), 2u);
}

TEST_F(FileSystem, withoutAUsableHomeDirectoryThrowsAndTheLocatorReports) {
  setenv("HOME", ("/" + std::string(8190, 'h')).c_str(), 1);
  EXPECT_THROW(Paths::appDataPath(), std::runtime_error);
  unsetenv("HOME");
  EXPECT_THROW(Paths::appDataPath(), std::runtime_error);
  EXPECT_THROW(Paths::pellionAppDataPath(), std::runtime_error);
  EXPECT_THROW(Paths::logPath(), std::runtime_error);
  EXPECT_FALSE(PellionApp::url().valid());
  EXPECT_EQ(logLines("Failed to get Pellion URL: No home directory").size(), 1u);
  EXPECT_FALSE(PellionApp::launch());
  EXPECT_EQ(logLines("Failed to determine Orvane Pellion executable path").size(), 1u);
  EXPECT_EQ(PellionApp::pid(), 0);
  EXPECT_TRUE(PellionApp::terminate());
  setenv("HOME", home().c_str(), 1);
  EXPECT_EQ(Paths::pellionAppDataPath(), home() + "/.orvane/pellion");
}

TEST_F(FileSystem, readsAFileUpToItsFirstZeroByteWhileItIsOpen) {
  const std::string large(100000, 'x');
  const std::pair<std::string, std::string> cases[] = {
      {std::string("before\0after", 12), "before"}, {large, large}, {"", ""}};
  for (const auto& [content, expected] : cases) {
    test_support::writeFile(path("file"), content);
    Pellion::Web::File file(path("file"));
    EXPECT_EQ(file.read(), "");
    EXPECT_TRUE(file.open());
    EXPECT_EQ(file.size(), content.size());
    EXPECT_EQ(file.read(), expected);
    file.close();
    EXPECT_EQ(file.size(), 0u);
    EXPECT_EQ(file.read(), "");
  }
  const size_t descriptors = test_support::countDescriptors();
  EXPECT_TRUE(Pellion::Web::File(path("file")).open());
  EXPECT_EQ(test_support::countDescriptors(), descriptors);
  Pellion::Web::File missing(path("missing"));
  EXPECT_FALSE(missing.open());
  EXPECT_EQ(logLines("File::open() failed: ").size(), 1u);
}

class Utils : public test_support::Sandbox {
 protected:
  ~Utils() override { PluginUtils::logCleanup(); }
};

TEST_F(Utils, startsTheLogOnceWithFullDetailAndWritesExceptionsToIt) {
  PluginUtils::logCleanup();
  PluginUtils::logInit();
  PluginUtils::logInit();
  EXPECT_EQ(g_dbg_level, 3);
  ov_dbg("a debug line");
  PluginUtils::logCleanup();
  ov_err("after the end");
  const std::pair<const char*, const char*> kCases[] = {
      {"100%", "100%"}, {"%s%n", "%s%n"}, {"%%%%", "%%"}, {"%%%d", "%%d"}, {"a%%20b", "a%20b"}};
  for (const auto& [text, expected] : kCases) {
    EXPECT_EQ(PluginUtils::textAsLogFormat(text), expected);
  }
  PluginUtils::logInit();
  PluginUtils::logException(std::runtime_error("50%% of %s%n"));
  PluginUtils::logException("While testing", std::runtime_error("100%"));
  for (const char* line : {"a debug line", "50% of %s%n", "While testing: 100%"}) {
    EXPECT_EQ(logLines(line).size(), 1u) << line;
  }
  EXPECT_TRUE(logLines("after the end").empty());
}

TEST_F(Utils, makesNoRequestWithoutAnAddressAndEscapesNoList) {
  writeUrlFile("127.0.0.1:80");
  EXPECT_EQ(PluginUtils::createHttpRequest("GET", "/", "", Pellion::Web::eContentJson), nullptr);
  EXPECT_EQ(PluginUtils::toJsonStr({}), "[]");
  EXPECT_EQ(PluginUtils::toJsonStr({"a\"b", "", "c\\d"}), "[\"a\"b\",\"\",\"c\\d\"]");
}

}  // namespace
