#include "tools/pellion_simulator/PendingFile.h"

#include <fcntl.h>
#include <glib.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace pellion_simulator {

namespace {

const int kLargestNumber = 9999;

// Its mode is what the user's file mask leaves.
FdGuard createTemporary(const std::string& directory, std::string* path) {
  for (;;) {
    char name[48];
    snprintf(name, sizeof(name), ".orvanepellion-%08x%08x.part", g_random_int(), g_random_int());
    *path = joinPath(directory, name);
    FdGuard fd(open(path->c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (fd.get() >= 0) {
      return fd;
    }
    if (errno != EEXIST) {
      throw FileError("cannot write into", directory, errno);
    }
  }
}

std::string numbered(const std::string& path, int number) {
  if (number == 1) {
    return path;
  }
  const size_t name = path.rfind('/') + 1;
  const size_t dot = path.rfind('.');
  const size_t end = dot == std::string::npos || dot <= name ? path.size() : dot;
  return path.substr(0, end) + " (" + std::to_string(number) + ")" + path.substr(end);
}

// 0, or the error number; EEXIST when `to` is taken.
int renameIfFree(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
    return 0;
  }
  if (errno != EINVAL && errno != ENOSYS) {
    return errno;
  }
  // The file system cannot do it in one step; a hard link does not replace a file either.
  if (link(from.c_str(), to.c_str()) != 0) {
    return errno;
  }
  unlink(from.c_str());
  return 0;
}

}  // namespace

PendingFile::PendingFile(const std::string& path) : _path(path) {
  const std::string directory = directoryOf(path);
  makeDirectories(directory, 0777);
  _fd = createTemporary(directory, &_temporary);
}

PendingFile::~PendingFile() {
  if (!_temporary.empty()) {
    unlink(_temporary.c_str());
  }
}

void PendingFile::write(const char* data, size_t size) {
  writeAll(_fd.get(), data, size, _path);
}

std::string PendingFile::publish() {
  int error = _fd.reset();
  for (int number = 1; error == 0 && number <= kLargestNumber; ++number) {
    std::string path = numbered(_path, number);
    error = renameIfFree(_temporary, path);
    if (error == 0) {
      _temporary.clear();
      return path;
    }
    error = error == EEXIST ? 0 : error;
  }
  throw FileError("cannot write", _path, error != 0 ? error : EEXIST);
}

}  // namespace pellion_simulator
