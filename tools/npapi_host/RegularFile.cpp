#include "tools/npapi_host/RegularFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace npapi_host {

// Asked twice: opening a pipe or a device may do something already, and the name may be given to
// another file in between.
RegularFile::RegularFile(const std::string& path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return;
  }
  _descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (_descriptor >= 0 && (fstat(_descriptor, &status) != 0 || !S_ISREG(status.st_mode))) {
    close(_descriptor);
    _descriptor = -1;
  }
  _size = status.st_size;
  _modified = status.st_mtime;
}

RegularFile::~RegularFile() {
  if (_descriptor >= 0) {
    close(_descriptor);
  }
}

ssize_t RegularFile::read(char* bytes, size_t size) const {
  size_t total = 0;
  while (total < size) {
    const ssize_t count = ::read(_descriptor, bytes + total, size - total);
    if (count == 0) {
      break;
    }
    if (count < 0 && errno != EINTR) {
      return -1;
    }
    total += count > 0 ? static_cast<size_t>(count) : 0;
  }
  return static_cast<ssize_t>(total);
}

}  // namespace npapi_host
