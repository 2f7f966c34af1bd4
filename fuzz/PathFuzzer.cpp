// The path functions of the portability library, in buffers of exactly their size.
#include <cstring>

#include "fuzz/BoundedOutput.h"
#include "ovlib/overrno.h"
#include "ovlib/ovpath.h"

namespace {

BoundedOutput canonical(const std::string& path, size_t size) {
  return {size, [&](char* buffer) { return ov_path_canonical_path(path.c_str(), buffer, size); }};
}

// No blank, "." or ".." stands in a canonical path, but at the front of a relative one.
void checkSegments(const std::string& path) {
  char prefix[OV_PATH_MAX];
  const char* rest = nullptr;
  FUZZ_CHECK(ov_path_extract_prefix(path.c_str(), prefix, sizeof(prefix), &rest) == 0);
  const bool rooted = *prefix != '\0';
  bool below = false;
  const std::string segments = rest;
  FUZZ_CHECK(segments.empty() || segments.back() != '/');
  for (size_t at = 0; at < segments.size();) {
    const size_t end = std::min(segments.find('/', at), segments.size());
    const std::string segment = segments.substr(at, end - at);
    FUZZ_CHECK(!segment.empty() && segment != "." && !contains(segment, "\\"));
    FUZZ_CHECK(segment != ".." || (!rooted && !below));
    below = below || segment != "..";
    at = end + 1;
  }
}

void checkCanonical(const std::string& path, size_t size) {
  const bool copied = ov_path_is_transfer_uri(path.c_str());
  const BoundedOutput whole = canonical(path, OV_PATH_MAX);
  const BoundedOutput cut = canonical(path, size);
  FUZZ_CHECK(whole.result == 0 || (whole.text.empty() && cut.result != 0));
  FUZZ_CHECK(cut.result == 0 ? cut.text == whole.text : cut.text.empty() || copied);
  FUZZ_CHECK(cut.result == 0 || size <= 2 * path.size() + 8 || whole.result != 0);
  FUZZ_CHECK(!copied || whole.result != 0 || whole.text == path);
  // A relative path may come to begin like a drive or a blank.
  const bool driven = ov_path_has_windows_drive_letter(path.c_str());
  if (whole.result != 0 || copied ||
      ov_path_has_windows_drive_letter(whole.text.c_str()) != driven) {
    return;
  }
  checkSegments(whole.text);
  const BoundedOutput again = canonical(whole.text, OV_PATH_MAX);
  FUZZ_CHECK(again.result == 0 && again.text == whole.text);
  const BoundedOutput inPlace(path.size() + 1, [&](char* buffer) {
    return ov_path_canonical_path(std::strcpy(buffer, path.c_str()), buffer, path.size() + 1);
  });
  FUZZ_CHECK(inPlace.result != 0 || inPlace.text == whole.text);
}

void checkAppend(const std::string& directory, const std::string& name, size_t size) {
  const BoundedOutput joined(size, [&](char* buffer) {
    return ov_path_append(directory.c_str(), name.c_str(), buffer, size);
  });
  FUZZ_CHECK(joined.result == OV_OK || joined.result == OV_EBUFFER || joined.result == -1);
  FUZZ_CHECK(size == 0 || joined.text.size() < size);
  const bool simple =
      !directory.empty() && directory.find_first_not_of("abcxyz") == std::string::npos;
  FUZZ_CHECK(size == 0 || joined.result != OV_OK || !simple ||
             joined.text == canonical(directory + "/" + name, OV_PATH_MAX).text);
}

void checkParts(const std::string& path, size_t size) {
  const char* const start = path.c_str();
  const char* rest = nullptr;
  const BoundedOutput prefix(
      size, [&](char* buffer) { return ov_path_extract_prefix(start, buffer, size, &rest); });
  if (size > 0) {
    FUZZ_CHECK(prefix.text.size() < size && rest >= start && rest <= start + path.size());
    FUZZ_CHECK(prefix.result != 0 || prefix.text.empty() || *rest != '/');
  }
  ov_path_unc_range parts = {};
  if (ov_path_unc_parts(start, &parts) == 0) {
    FUZZ_CHECK(ov_path_is_unc_path(start) && parts.server == 2);
    FUZZ_CHECK(parts.server_end > 2 && parts.share == parts.server_end + 1);
    FUZZ_CHECK(parts.share_end > parts.share && parts.share_end <= path.size());
  }
  FUZZ_CHECK(!ov_path_is_unc_path(start) || !ov_path_is_relative(start));
  const size_t separator = path.find_first_of("/\\");
  FUZZ_CHECK(ov_path_next_dirsep(start) ==
             (separator == std::string::npos ? nullptr : start + separator));
}

void checkSearch(const std::string& name, const std::string& directory, size_t size) {
  const char* const directories[] = {directory.c_str(), "/nowhere", "/", nullptr};
  const BoundedOutput found(size, [&](char* buffer) {
    return ov_path_find_file_in_paths(name.c_str(), directories, buffer, size);
  });
  FUZZ_CHECK(found.result != 0 || ov_path_exists(found.text.c_str()));
  FUZZ_CHECK(found.result == 0 || name.empty() || found.text.empty());
  setVariable("HOME", directory);
  const BoundedOutput home(size, [&](char* buffer) { return ov_path_home_dir(buffer, size); });
  FUZZ_CHECK(home.result < 0 || home.text.size() == static_cast<size_t>(home.result));
}

}  // namespace

void tryInput(FuzzInput input) {
  const size_t size = input.flag() ? input.byte() : input.word() % (OV_PATH_MAX + 9);
  const std::string first = upToZero(input.text());
  const std::string second = upToZero(input.remainder());
  checkCanonical(first, size);
  checkAppend(first, second, size);
  checkParts(first, size);
  checkSearch(second, first, size);
}
