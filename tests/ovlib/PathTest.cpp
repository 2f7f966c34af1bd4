#include <gmock/gmock.h>

#include <filesystem>
#include <string>

#include "ovlib/overrno.h"
#include "ovlib/ovpath.h"
#include "tests/support/Sandbox.h"

namespace {

const std::string kHuge(OV_PATH_MAX, 'x');

std::string canonical(const std::string& path, size_t size = OV_PATH_MAX) {
  std::string output(size, '#');
  const int result = ov_path_canonical_path(path.c_str(), output.data(), size);
  EXPECT_LT(output.find('\0'), size);
  return result == 0 ? output.c_str() : "failed: " + std::to_string(result) + output.c_str();
}

TEST(Path, isRecognised) {
  const struct {
    const char* path;
    bool relative, drive, unc;
  } kCases[] = {{"", true, false, false},       {"./a", true, false, false},
                {"  /a", false, false, false},  {"\\a", false, false, false},
                {" C:\\a", false, true, false}, {"1:", true, false, false},
                {"a/c:", true, false, false},   {"//s/", false, false, true},
                {"//s", false, false, false},   {"///h", false, false, false}};
  for (const auto& c : kCases) {
    EXPECT_EQ(ov_path_is_relative(c.path), c.relative) << c.path;
    EXPECT_EQ(ov_path_has_windows_drive_letter(c.path), c.drive) << c.path;
    EXPECT_EQ(ov_path_is_unc_path(c.path), c.unc) << c.path;
  }
  EXPECT_TRUE(ov_path_is_transfer_uri("ovtp://host/file"));
  EXPECT_FALSE(ov_path_is_transfer_uri("ovtp:/host"));
  EXPECT_STREQ(ov_path_next_dirsep("ab\\c/d"), "\\c/d");
  EXPECT_EQ(ov_path_next_dirsep("abc"), nullptr);
}

TEST(Path, splitsOffItsRoot) {
  const struct {
    const char *path, *prefix, *rest;
  } kCases[] = {{"", "", ""},
                {"///a/b", "/", "a/b"},
                {" c:///a", "c:/", "a"},
                {"//srv/share", "//srv/share/", ""},
                {"//srv/share//a/b", "//srv/share/", "a/b"}};
  const char* rest = nullptr;
  for (const auto& c : kCases) {
    char prefix[16] = "#";
    EXPECT_EQ(ov_path_extract_prefix(c.path, prefix, sizeof(prefix), &rest), 0) << c.path;
    EXPECT_STREQ(prefix, c.prefix) << c.path;
    EXPECT_STREQ(rest, c.rest) << c.path;
  }
  char small[12];
  EXPECT_EQ(ov_path_extract_prefix("//srv/share/a", small, sizeof(small), &rest), -1);
}

TEST(Path, hasACanonicalForm) {
  const std::string kFailed = "failed: -1";
  const std::pair<std::string, std::string> kCases[] = {{"", ""},
                                                        {"/x/./y//z", "/x/y/z"},
                                                        {"\\x\\y\\..\\z", "/x/z"},
                                                        {"/../../a/..", "/"},
                                                        {"///a/../../b", "/b"},
                                                        {"c:\\..\\a", "c:/a"},
                                                        {"a/..", ""},
                                                        {"\\\\srv\\share\\a\\..", "//srv/share/"},
                                                        {"a/../../b", "../b"},
                                                        {"../../a/../b", "../../b"},
                                                        {"//srv//a", kFailed},
                                                        {"/.../..a/a..", "/.../..a/a.."},
                                                        {"/a\nb", kFailed},
                                                        {"ovtp://h/\n", kFailed},
                                                        {kHuge, kFailed}};
  for (const auto& [path, expected] : kCases) {
    EXPECT_EQ(canonical(path), expected) << path;
  }
  for (const std::string& path : {std::string("ovtp://h//a/../b\\c/./"), kHuge.substr(1)}) {
    EXPECT_EQ(canonical(path), path);
  }
  EXPECT_EQ(canonical("/abc/def", 9), "/abc/def");
  EXPECT_EQ(canonical("/abc/def", 8), kFailed);
  EXPECT_EQ(canonical("/abc/de/f", 9), kFailed);
}

TEST(Path, appends) {
  const struct {
    const char *directory, *name, *expected;
  } kCases[] = {
      {"/x", "a/../b", "/x/b"}, {"/x", "///b", "/x/b"},   {"", "./b", "b"},
      {".", "b", "b"},          {".", "/b", "b"},         {"/", "/b", "/b"},
      {"/", "b", "/b"},         {"x", "../../b", "../b"}, {"ovtp://h/a", "b", "ovtp://h/a/b"}};
  char output[16];
  for (const auto& c : kCases) {
    EXPECT_EQ(ov_path_append(c.directory, c.name, output, sizeof(output)), OV_OK);
    EXPECT_STREQ(output, c.expected) << c.directory << " + " << c.name;
  }
  EXPECT_EQ(ov_path_append("/abcdefgh", "ijk", output, 12), OV_EBUFFER);
  EXPECT_STREQ(output, "/abcdefgh/i");
}

using PathFiles = test_support::Sandbox;

TEST_F(PathFiles, findsTheFirstThatExists) {
  for (const char* directory : {"a", "b", "c"}) {
    std::filesystem::create_directory(path(directory));
  }
  test_support::writeFile(path("b/tool"), "");
  test_support::writeFile(path("c/tool"), "");
  const std::string a = path("a"), b = path("b"), c = path("c");
  const char* const all[] = {a.c_str(), b.c_str(), c.c_str(), nullptr};
  const char* const none[] = {a.c_str(), nullptr};
  const char* const too_long[] = {kHuge.c_str(), b.c_str(), nullptr};
  char found[OV_PATH_MAX];
  EXPECT_EQ(ov_path_find_file_in_paths("tool", all, found, sizeof(found)), 0);
  EXPECT_EQ(found, b + "/tool");
  EXPECT_EQ(ov_path_find_file_in_paths("", all, found, sizeof(found)), -1);
  for (const char* const* directories : {none, none + 1, too_long}) {
    EXPECT_EQ(ov_path_find_file_in_paths("tool", directories, found, sizeof(found)), -1);
    EXPECT_STREQ(found, "");
  }
}

TEST_F(PathFiles, knowsTheHomeDirectory) {
  char home_dir[OV_PATH_MAX];
  setenv("HOME", "/home//me/./x/..", 1);
  EXPECT_EQ(ov_path_home_dir(home_dir, sizeof(home_dir)), 8);
  EXPECT_STREQ(home_dir, "/home/me");
  EXPECT_EQ(ov_path_home_dir(home_dir, 8), -1);
  unsetenv("HOME");
  EXPECT_EQ(ov_path_home_dir(home_dir, sizeof(home_dir)), -1);
}

}  // namespace
