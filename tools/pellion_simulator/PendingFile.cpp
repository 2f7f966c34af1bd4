#include "tools/pellion_simulator/PendingFile.h"

#include <fcntl.h>
#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
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

// How long the name of a file in this directory may be, in bytes.
size_t longestNameIn(const std::string& directory) {
  const long name = pathconf(directory.c_str(), _PC_NAME_MAX);
  const size_t path = PATH_MAX - 1 - std::min<size_t>(directory.size() + 1, PATH_MAX - 1);
  return std::min(path, name > 0 ? static_cast<size_t>(name) : NAME_MAX);
}

// At most `size` bytes of it, and no character of UTF-8 in two.
std::string startOf(const std::string& text, size_t size) {
  while (size > 0 && size < text.size() &&
         (static_cast<unsigned char>(text[size]) & 0xc0) == 0x80) {
    --size;
  }
  return text.substr(0, size);
}

// "name.ext" becomes "name (2).ext". A name for which that is too long loses its end, and one that
// is nearly all extension loses that.
std::string numbered(const std::string& name, int number, size_t longest) {
  const std::string mark = number == 1 ? "" : " (" + std::to_string(number) + ")";
  const size_t dot = name.rfind('.');
  std::string extension = dot == std::string::npos || dot == 0 ? "" : name.substr(dot);
  const std::string stem = name.substr(0, name.size() - extension.size());
  if (mark.size() + extension.size() >= longest) {
    extension.clear();
  }
  const size_t taken = std::min(mark.size() + extension.size(), longest);
  return startOf(stem, longest - taken) + mark + extension;
}

// 0, or the error number; EEXIST when `to` is taken.
int renameIfFree(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
    return 0;
  }
  if (errno != EINVAL && errno != ENOSYS) {
    return errno;
  }
  // The file system cannot do it in one step: an empty file takes the name, then makes way.
  if (FdGuard(open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666)).get() < 0) {
    return errno;
  }
  if (rename(from.c_str(), to.c_str()) != 0) {
    const int error = errno;
    unlink(to.c_str());
    return error;
  }
  return 0;
}

}  // namespace

PendingFile::PendingFile(const std::string& path)
    : _path(path), _directory(directoryOf(path)), _name(path.substr(path.rfind('/') + 1)) {
  makeDirectories(_directory, 0777);
  _longestName = longestNameIn(_directory);
  if (_name.size() > _longestName) {
    throw std::runtime_error("the file's name is too long, " + std::to_string(_name.size()) +
                             " bytes; here it may have " + std::to_string(_longestName));
  }
  _fd = createTemporary(_directory, &_temporary);
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
    std::string path = joinPath(_directory, numbered(_name, number, _longestName));
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
