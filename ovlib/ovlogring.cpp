#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "ovlib/ovdir.h"
#include "ovlib/overrno.h"
#include "ovlib/ovfile.h"
#include "ovlib/ovlog.h"
#include "ovlib/ovlog_internal.h"
#include "ovlib/ovpath.h"
#include "ovlib/ovplatform.h"
#include "ovlib/ovstring.h"

namespace ov_log_internal {

namespace {

constexpr int kRingSize = 10;
constexpr uint64_t kMebibyte = 1024 * 1024;
constexpr uint64_t kSuffixLimit = 536870911;  // mebibytes
constexpr unsigned kSetterLimit = 4096;       // mebibytes
constexpr unsigned kFileMode = 0660;
constexpr mode_t kDirectoryMode = 0777;

uint64_t max_logfile_size = 10 * kMebibyte;
char g_log_file_basename[OV_PATH_MAX];
ov_file_t flog = -1;
ov_mutex_t log_filelock = {PTHREAD_MUTEX_INITIALIZER};
bool filelock_ready = false;

// The ring's names: the base name with "." and a digit in front of the file name's last dot.
class NumberedName {
 public:
  explicit NumberedName(const char* base) {
    const char* slash = strrchr(base, '/');
    _file = slash != nullptr ? static_cast<size_t>(slash + 1 - base) : 0;
    const char* dot = strrchr(base + _file, '.');
    const size_t insertion = dot != nullptr ? static_cast<size_t>(dot - base) : strlen(base);
    _digit = insertion + 1;
    memcpy(_path, base, insertion);
    memcpy(_path + insertion, ".0", 2);
    memcpy(_path + insertion + 2, base + insertion, strlen(base + insertion) + 1);
  }

  const char* path(int digit) {
    _path[_digit] = static_cast<char>('0' + digit);
    return _path;
  }

  // The digit of a directory entry that belongs to the ring, or -1.
  int digitOf(const char* entry) const {
    const size_t before = _digit - _file;
    const char* own = _path + _file;
    if (strlen(entry) != strlen(own) || isdigit(static_cast<unsigned char>(entry[before])) == 0 ||
        memcmp(entry, own, before) != 0 || strcmp(entry + before + 1, own + before + 1) != 0) {
      return -1;
    }
    return entry[before] - '0';
  }

 private:
  char _path[OV_PATH_MAX + 2];
  size_t _file;
  size_t _digit;
};

void directoryOf(const char* base, char* directory, size_t size) {
  const char* slash = strrchr(base, '/');
  if (slash == nullptr || slash == base) {
    ov_str_ncpy(directory, slash == nullptr ? "." : "/", size);
    return;
  }
  memcpy(directory, base, static_cast<size_t>(slash - base));
  directory[slash - base] = '\0';
}

int findPresent(const NumberedName& name, bool (&present)[kRingSize]) {
  char directory[OV_PATH_MAX];
  directoryOf(g_log_file_basename, directory, sizeof(directory));
  ov_dir_t listing;
  const int result = ov_dir_open(&listing, directory);
  if (result != OV_OK) {
    fprintf(stderr, "Error opening log directory %s\n", directory);
    return result;
  }
  char entry[OV_PATH_MAX];
  while (ov_dir_next(&listing, entry, sizeof(entry)) == OV_OK) {
    const int digit = name.digitOf(entry);
    if (digit >= 0) {
      present[digit] = true;
    }
  }
  return ov_dir_close(&listing);
}

// The end of the first run of digits, or -1 when there is none.
int currentDigit(const bool (&present)[kRingSize]) {
  int digit = 0;
  while (digit < kRingSize && !present[digit]) {
    ++digit;
  }
  if (digit == kRingSize) {
    return -1;
  }
  while (digit + 1 < kRingSize && present[digit + 1]) {
    ++digit;
  }
  return digit;
}

// Deliberate: a file of exactly the limit is full when it is opened, but stays while it is open.
bool hasRoom() {
  uint64_t size = 0;
  return ov_file_size(flog, &size) == OV_OK && size < max_logfile_size;
}

// Opens the first file from `digit` on that has room. Each full one is passed over and the one
// behind its successor is deleted, so that a gap follows the current file.
int openFrom(NumberedName* name, int digit, bool is_new) {
  for (int pass = 0; pass <= kRingSize; ++pass) {
    if (ov_file_openappend(&flog, name->path(digit), kFileMode) != OV_OK) {
      break;
    }
    if (hasRoom()) {
      if (is_new) {
        ov_file_delete(g_log_file_basename);
        ov_file_hardlink(name->path(digit), g_log_file_basename);
      }
      return OV_OK;
    }
    ov_file_close(&flog);
    digit = (digit + 1) % kRingSize;
    ov_file_delete(name->path((digit + 1) % kRingSize));
    is_new = true;
  }
  fprintf(stderr, "Cannot open log file: %s\n", name->path(digit));
  return OV_EINVAL;
}

// Cuts a ":N" out of the stored name; N mebibytes become the limit unless out of range.
// Deliberate: the last ":N" counts wherever it stands, so "/tmp:5/log" logs to "/tmp/log".
void takeSizeSuffix(char* name) {
  char* colon = strrchr(name, ':');
  if (colon == nullptr || colon == name || isdigit(static_cast<unsigned char>(colon[1])) == 0) {
    return;
  }
  uint64_t mebibytes = 0;
  const char* rest = colon + 1;
  for (; isdigit(static_cast<unsigned char>(*rest)) != 0; ++rest) {
    mebibytes =
        mebibytes > kSuffixLimit ? mebibytes : mebibytes * 10 + static_cast<uint64_t>(*rest - '0');
  }
  memmove(colon, rest, strlen(rest) + 1);
  if (mebibytes >= 1 && mebibytes <= kSuffixLimit) {
    max_logfile_size = mebibytes * kMebibyte;
  }
}

// A name without a directory lives under the installation root, in "var/log".
int placeUnderRoot() {
  char root[OV_PATH_MAX];
  char directory[OV_PATH_MAX];
  char name[OV_PATH_MAX];
  int result = ov_platform_root(root, sizeof(root));
  if (result != OV_OK) {
    return result;
  }
  const int length = snprintf(directory, sizeof(directory), "%s/var/log", root);
  if (length < 0 || static_cast<size_t>(length) >= sizeof(directory)) {
    return OV_ERANGE;
  }
  ov_str_ncpy(name, g_log_file_basename, sizeof(name));
  result = ov_path_append(directory, name, g_log_file_basename, sizeof(g_log_file_basename));
  return result != OV_OK ? result : ov_dir_create(directory, kDirectoryMode, true);
}

int rotateLocked() {
  if (flog == -1) {
    return ov_log_openfile();
  }
  uint64_t size = 0;
  const int result = ov_file_size(flog, &size);
  if (result != OV_OK || size <= max_logfile_size) {
    return result;
  }
  ov_file_close(&flog);
  return ov_log_openfile();
}

}  // namespace

int setRingName(const char* name) {
  if (ov_str_ncpy(g_log_file_basename, name, sizeof(g_log_file_basename)) != OV_OK) {
    return OV_EPATHMAX;
  }
  takeSizeSuffix(g_log_file_basename);
  ov_file_tounixpath(g_log_file_basename);
  return strchr(g_log_file_basename, '/') != nullptr ? static_cast<int>(OV_OK) : placeUnderRoot();
}

int openRingLock() {
  const int result = ov_mutex_init(&log_filelock);
  filelock_ready = result == OV_OK;
  return result;
}

void closeRing() {
  if (flog != -1) {
    ov_file_flush(flog);
    ov_file_close(&flog);
  }
  if (filelock_ready) {
    ov_mutex_destroy(&log_filelock);
    filelock_ready = false;
  }
  g_log_file_basename[0] = '\0';
}

bool ringIsOpen() {
  return flog != -1;
}

void appendToRing(const char* bytes, size_t size) {
  while (size > 0) {
    size_t written = 0;
    if (ov_file_write(flog, bytes, size, &written) != OV_OK || written == 0) {
      return;
    }
    bytes += written;
    size -= written;
  }
}

}  // namespace ov_log_internal

using namespace ov_log_internal;

int ov_log_rotate() {
  OvLock lock(&log_lock);
  if (!filelock_ready) {
    return OV_EINVAL;
  }
  const int result = ov_mutex_acquire(&log_filelock);
  if (result != OV_OK) {
    return result;
  }
  const int rotated = rotateLocked();
  ov_mutex_release(&log_filelock);
  return rotated;
}

int ov_log_openfile() {
  if (g_log_file_basename[0] == '\0') {
    return OV_EINVAL;
  }
  NumberedName name(g_log_file_basename);
  bool present[kRingSize] = {};
  const int result = findPresent(name, present);
  if (result != OV_OK) {
    return result;
  }
  const int current = currentDigit(present);
  return current < 0 ? openFrom(&name, 0, true) : openFrom(&name, current, false);
}

int ov_log_set_logfile_size(unsigned mebibytes) {
  // A limit of nothing would turn the ring over for ever.
  if (mebibytes == 0 || mebibytes >= kSetterLimit) {
    return OV_EINVAL;
  }
  OvLock lock(&log_lock);
  max_logfile_size = mebibytes * kMebibyte;
  return OV_OK;
}
