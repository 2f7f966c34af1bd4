#include "tools/pellion_simulator/FileIo.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <system_error>

namespace pellion_simulator {

FdGuard& FdGuard::operator=(FdGuard&& other) noexcept {
  if (this != &other) {
    reset();
    _fd = other.release();
  }
  return *this;
}

int FdGuard::release() {
  const int fd = _fd;
  _fd = -1;
  return fd;
}

int FdGuard::reset() {
  const int fd = release();
  return fd >= 0 && close(fd) != 0 ? errno : 0;
}

FileError::FileError(const std::string& what, const std::string& path, int error)
    : std::runtime_error(what + " " + path + ": " + std::system_category().message(error)) {}

FdGuard openRegularFile(const std::string& path, off_t* size) {
  FdGuard fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat info = {};
  if (fd.get() < 0 || fstat(fd.get(), &info) != 0) {
    throw FileError("cannot read", path, errno);
  }
  if (!S_ISREG(info.st_mode)) {
    throw std::runtime_error("cannot read " + path + ": not a regular file");
  }
  *size = info.st_size;
  return fd;
}

void writeAll(int fd, const char* data, size_t size, const std::string& path) {
  while (size > 0) {
    const ssize_t count = write(fd, data, size);
    if (count < 0 && errno != EINTR) {
      throw FileError("cannot write", path, errno);
    }
    if (count > 0) {
      data += count;
      size -= static_cast<size_t>(count);
    }
  }
}

std::string readFileText(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

void writeFileAtomically(const std::string& path, const std::string& content) {
  std::string temporary = path + ".XXXXXX";
  FdGuard fd(mkostemp(temporary.data(), O_CLOEXEC));
  if (fd.get() < 0) {
    throw FileError("cannot write", path, errno);
  }
  try {
    writeAll(fd.get(), content.data(), content.size(), path);
    const int error = fd.reset();
    if (error != 0 || rename(temporary.c_str(), path.c_str()) != 0) {
      throw FileError("cannot write", path, error != 0 ? error : errno);
    }
  } catch (const std::exception&) {
    unlink(temporary.c_str());
    throw;
  }
}

void makeDirectories(const std::string& path, mode_t mode) {
  for (size_t end = 1; end != std::string::npos && end <= path.size();) {
    end = path.find('/', end);
    const std::string part = path.substr(0, end);
    if (mkdir(part.c_str(), mode) != 0 && !isDirectory(part)) {
      const int error = errno;
      throw FileError("cannot make the directory", part, error == EEXIST ? ENOTDIR : error);
    }
    end = end == std::string::npos ? end : end + 1;
  }
}

bool isDirectory(const std::string& path) {
  struct stat info = {};
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::string joinPath(const std::string& directory, const std::string& name) {
  if (directory.empty() || name.empty()) {
    return directory + name;
  }
  return directory.back() == '/' ? directory + name : directory + "/" + name;
}

std::string directoryOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace pellion_simulator
