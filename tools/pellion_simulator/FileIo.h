#ifndef PELLION_SIMULATOR_FILE_IO_H_
#define PELLION_SIMULATOR_FILE_IO_H_

#include <sys/types.h>

#include <stdexcept>
#include <string>

namespace pellion_simulator {

// Owns a file descriptor.
class FdGuard {
 public:
  explicit FdGuard(int fd = -1) : _fd(fd) {}
  ~FdGuard() { reset(); }
  FdGuard(FdGuard&& other) noexcept : _fd(other.release()) {}
  FdGuard& operator=(FdGuard&& other) noexcept;
  FdGuard(const FdGuard&) = delete;
  FdGuard& operator=(const FdGuard&) = delete;

  int get() const { return _fd; }
  int release();
  // Closes; 0 or the error number (a late write error may come only now).
  int reset();

 private:
  int _fd;
};

// A file operation failed. The text names the file and the system's reason.
class FileError : public std::runtime_error {
 public:
  FileError(const std::string& what, const std::string& path, int error);
};

// Opens a regular file for reading; never blocks on a pipe or a device. Throws FileError.
FdGuard openRegularFile(const std::string& path, off_t* size);

// Writes all of it. Throws FileError, with `path` in its text.
void writeAll(int fd, const char* data, size_t size, const std::string& path);

// The whole content; empty when the file cannot be read.
std::string readFileText(const std::string& path);

// Readers see the old content or the new one, never half of it. Throws FileError.
void writeFileAtomically(const std::string& path, const std::string& content);

// Makes the directory and what is missing above it. Throws FileError.
void makeDirectories(const std::string& path, mode_t mode);

bool isDirectory(const std::string& path);

// "/" and an empty directory are handled: joinPath("/", "a") is "/a".
std::string joinPath(const std::string& directory, const std::string& name);
std::string directoryOf(const std::string& path);

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_FILE_IO_H_
