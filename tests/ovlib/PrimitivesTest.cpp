#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <future>

#include "ovlib/ovdir.h"
#include "ovlib/overrno.h"
#include "ovlib/ovfile.h"
#include "ovlib/ovplatform.h"
#include "ovlib/ovsynchron.h"
#include "ovlib/ovtime.h"
#include "tests/ovlib/LogFixture.h"
#include "tests/support/WaitFor.h"

namespace fs = std::filesystem;

namespace {

using test_support::readFile;
using test_support::writeFile;

using File = test_support::Sandbox;

TEST_F(File, isAppendedToAndRead) {
  const std::string name = path("file");
  ov_file_t file;
  size_t count = 0;
  for (const char* text : {"one", "two"}) {
    ASSERT_EQ(ov_file_openappend(&file, name.c_str(), 0600), OV_OK);
    EXPECT_EQ(fcntl(file, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(ov_file_write(file, text, 3, &count), OV_OK);
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(ov_file_flush(file), OV_OK);
    EXPECT_EQ(ov_file_close(&file), OV_OK);
  }
  EXPECT_EQ(file, -1);
  EXPECT_EQ(readFile(name), "onetwo");
  EXPECT_EQ(ov_file_flush(file), OV_EINVAL);
  EXPECT_EQ(ov_file_write(file, "x", 1, &count), OV_EBADF);
  EXPECT_EQ(count, 0U);
}

TEST_F(File, hasAStatus) {
  writeFile(path("regular"), "12345");
  fs::create_symlink("regular", path("symlink"));
  const std::pair<std::string, int> kCases[] = {{path("regular"), OV_FILE_REGULAR},
                                                {path("symlink"), OV_FILE_REGULAR},
                                                {"/dev/null", OV_FILE_CHAR},
                                                {home(), OV_FILE_DIRECTORY}};
  ov_file_status status;
  for (const auto& [name, kind] : kCases) {
    ASSERT_EQ(ov_file_stat(name.c_str(), &status), OV_OK) << name;
    EXPECT_EQ(status.kind, kind) << name;
    EXPECT_TRUE(kind != OV_FILE_REGULAR || status.size == 5) << name;
  }
  EXPECT_LE(std::abs(time(nullptr) - status.mtime), 3600);
}

using Directory = test_support::Sandbox;

TEST_F(Directory, isCreated) {
  writeFile(path("file"), "");
  fs::create_directory(path("real"));
  fs::create_symlink("real", path("to-directory"));
  fs::create_symlink("file", path("to-file"));
  fs::create_symlink("nowhere", path("dangling"));
  const std::string huge = "/" + std::string(8191, 'x');
  const struct {
    std::string path;
    bool recursive;
    int result;
  } kCases[] = {{path("a/b/c"), false, OV_ENOENT},     {path("a/b/c"), true, OV_OK},
                {path("a/b/c"), true, OV_OK},          {path("a//d/"), true, OV_OK},
                {path("to-directory/f"), true, OV_OK}, {path("to-file"), false, OV_ENOTDIR},
                {path("file/g"), true, OV_ENOTDIR},    {path("dangling"), false, OV_EEXIST},
                {huge + "/x", true, OV_ERANGE}};
  for (const auto& c : kCases) {
    EXPECT_EQ(ov_dir_create(c.path.c_str(), 0700, c.recursive), c.result) << c.path.substr(0, 99);
    std::error_code unreadable;
    EXPECT_EQ(fs::is_directory(c.path, unreadable), c.result == OV_OK) << c.path.substr(0, 99);
  }
  EXPECT_EQ(fs::status(path("a/b")).permissions(), fs::perms::owner_all);
}

TEST(Condition, waitsUntilSignalledOrNoLongerThanAsked) {
  ov_mutex_t mutex;
  ov_cond_t condition;
  EXPECT_EQ(ov_mutex_init(&mutex), OV_OK);
  EXPECT_EQ(ov_cond_init(&condition, &mutex), OV_OK);
  const auto wait = [&](const timeval* timeout) {
    OvLock lock(&mutex);
    return ov_cond_timedwait(&condition, timeout);
  };
  auto result = std::async(std::launch::async, wait, nullptr);
  EXPECT_TRUE(test_support::waitFor([&] {
    EXPECT_EQ(ov_cond_signal(&condition), OV_OK);
    return result.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
  }));
  EXPECT_EQ(result.get(), OV_OK);

  const timeval timeout = {0, 30000};
  timeval before;
  uint64_t elapsed = 0;
  ov_time_gettimeofday(&before);
  while (wait(&timeout) != OV_ETIMEDOUT) {
  }
  EXPECT_EQ(ov_time_get_usec_since(&before, &elapsed), OV_OK);
  EXPECT_GE(elapsed, 30000U);
  EXPECT_EQ(ov_cond_destroy(&condition), OV_OK);
  EXPECT_EQ(ov_mutex_destroy(&mutex), OV_OK);
}

using Time = LogFixture;

TEST_F(Time, isAddedBrokenDownLocallyAndNeverOfTheFuture) {
  const struct {
    timeval sum, add, expected;
  } kCases[] = {{{1, 999999}, {0, 0}, {1, 999999}},
                {{1, 999999}, {2, 1}, {4, 0}},
                {{0, 500000}, {0, 2600000}, {3, 100000}}};
  for (auto c : kCases) {
    ov_time_tv_add(&c.sum, &c.add);
    EXPECT_EQ(c.sum.tv_sec, c.expected.tv_sec);
    EXPECT_EQ(c.sum.tv_usec, c.expected.tv_usec);
  }
  setenv("TZ", "XYZ-2", 1);  // Two hours ahead.
  ov_time_init();
  tm local = {};
  EXPECT_EQ(ov_time_localtime(0, &local), OV_OK);
  EXPECT_EQ(local.tm_hour, 2);
  ASSERT_EQ(start(), OV_OK);
  timeval future;
  uint64_t elapsed = 7;
  ov_time_gettimeofday(&future);
  future.tv_sec += 1000;
  EXPECT_EQ(ov_time_get_usec_since(&future, &elapsed), OV_EINVAL);
  EXPECT_EQ(elapsed, 7U);
  EXPECT_THAT(readFile(member('0')), testing::ContainsRegex("ERR get_usec_since: big old " +
                                                            std::to_string(future.tv_sec)));
}

TEST(Platform, rootIsAboveTheProgramsDirectory) {
  char root[4096];
  EXPECT_EQ(ov_platform_root(root, sizeof(root)), OV_OK);
  EXPECT_EQ(root, fs::read_symlink("/proc/self/exe").parent_path().parent_path());
  EXPECT_EQ(ov_platform_root(root, 1), OV_EBUFFER);
}

}  // namespace
