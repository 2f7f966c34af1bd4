#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
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
using test_support::writeFile;

class FileSystem : public test_support::Sandbox {
 protected:
  using Paths = Pellion::Web::FileSystem;

  FileSystem() {
    ov_log_init(OV_LOG_FILE, dataPath("var/log/orvane-pellion-browser-plugin.log").c_str());
    ov_dbg_set(3);
    ov_dbg_set_all(3);
  }
  ~FileSystem() override { ov_log_cleanup(); }
};

TEST_F(FileSystem, buildsEachPathOnceBelowTheHomeDirectory) {
  EXPECT_EQ(Paths::logPath(),
            home() + "/.orvane/pellion/var/log/orvane-pellion-browser-plugin.log");
  setenv("HOME", "/elsewhere", 1);
  EXPECT_EQ(Paths::appDataPath(), home() + "/");
  EXPECT_EQ(Paths::pellionAppDataPath(), home() + "/.orvane/pellion");
  EXPECT_EQ(logLines("Application data directory: " + home() + "/").size(), 1u);
}

TEST_F(FileSystem, announcesTheEmptyPluginDirectoryOnEveryCall) {
  EXPECT_EQ(Paths::pluginPath(), "");
  const size_t once = logLines("Browser plugin directory: ").size();
  // Another line between the two, so that the log does not fold them.
  ov_log("between");
  EXPECT_EQ(Paths::pluginPath(), "");
  EXPECT_EQ(once, 1u);
  EXPECT_EQ(logLines("Browser plugin directory: ").size(), 2u);
}

TEST_F(FileSystem, withoutAHomeDirectoryThrowsAndRecovers) {
  unsetenv("HOME");
  EXPECT_THROW(Paths::appDataPath(), std::runtime_error);
  EXPECT_THROW(Paths::pellionAppDataPath(), std::runtime_error);
  EXPECT_THROW(Paths::logPath(), std::runtime_error);
  EXPECT_EQ(Paths::pluginPath(), "");
  setenv("HOME", home().c_str(), 1);
  EXPECT_EQ(Paths::pellionAppDataPath(), home() + "/.orvane/pellion");
}

TEST_F(FileSystem, withoutAHomeDirectoryTheLocatorReportsAndDoesNotThrow) {
  unsetenv("HOME");
  EXPECT_FALSE(PellionApp::url().valid());
  EXPECT_EQ(logLines("Failed to get Pellion URL: No home directory").size(), 1u);
  EXPECT_FALSE(PellionApp::launch());
  EXPECT_EQ(logLines("Failed to determine Orvane Pellion executable path").size(), 1u);
  EXPECT_EQ(PellionApp::pid(), 0);
  EXPECT_TRUE(PellionApp::terminate());
}

TEST_F(FileSystem, refusesAHomeDirectoryTooLongForItsBuffer) {
  setenv("HOME", ("/" + std::string(8190, 'h')).c_str(), 1);
  EXPECT_THROW(Paths::appDataPath(), std::runtime_error);
}

class File : public FileSystem {
 protected:
  std::string readWhole(const std::string& name) const {
    Pellion::Web::File file(path(name));
    file.open();
    return file.read();
  }
};

TEST_F(File, readsUpToTheFirstZeroByte) {
  using namespace std::string_literals;
  const struct {
    const char* label;
    std::string content;
    std::string expected;
  } cases[] = {
      {"whole", "http://127.0.0.1:1/\n", "http://127.0.0.1:1/\n"},
      {"zero byte", "before\0after"s, "before"},
      {"zero byte first", "\0after"s, ""},
      {"empty", "", ""},
      {"several pages", std::string(100000, 'x'), std::string(100000, 'x')},
  };
  for (const auto& c : cases) {
    writeFile(path("file"), c.content);
    EXPECT_EQ(readWhole("file"), c.expected) << c.label;
  }
}

TEST_F(File, whatCannotBeReadCountsAsEmpty) {
  std::filesystem::create_directory(path("directory"));
  ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
  writeFile(path("sparse"), "text");
  std::filesystem::resize_file(path("sparse"), uint64_t{1} << 40);
  writeFile(path("large"), std::string(17 * 1024 * 1024, 'x'));
  const struct {
    const char* name;
    bool opens;
  } cases[] = {
      {"missing", false}, {"pipe", false}, {"directory", true}, {"sparse", true}, {"large", true}};
  for (const auto& c : cases) {
    Pellion::Web::File file(path(c.name));
    EXPECT_EQ(file.open(), c.opens) << c.name;
    EXPECT_EQ(file.read(), "") << c.name;
  }
  EXPECT_EQ(logLines("File::open() failed: ").size(), 2u);
}

TEST_F(File, isClosedBeforeOpenAndAfterClose) {
  writeFile(path("file"), "text");
  const size_t descriptors = test_support::countDescriptors();
  Pellion::Web::File file(path("file"));
  EXPECT_EQ(file.read(), "");
  EXPECT_TRUE(file.open());
  EXPECT_EQ(file.size(), 4u);
  file.close();
  EXPECT_EQ(file.size(), 0u);
  EXPECT_EQ(file.read(), "");
  EXPECT_EQ(readWhole("file"), "text");
  EXPECT_EQ(test_support::countDescriptors(), descriptors);
}

}  // namespace
