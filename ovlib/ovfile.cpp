#include "ovlib/ovfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "ovlib/overrno.h"
#include "ovlib/ovlog.h"
#include "ovlib/ovpath.h"

namespace {

int openFile(ov_file_t* file, const char* path, int flags, unsigned mode) {
  if (file == nullptr || path == nullptr) {
    return OV_EINVAL;
  }
  *file = open(path, flags | O_CLOEXEC, mode);
  return ov_errno_result(*file == -1 ? -1 : 0);
}

void storeCount(size_t* count, ssize_t transferred) {
  if (count != nullptr) {
    *count = transferred < 0 ? 0 : static_cast<size_t>(transferred);
  }
}

int kindOf(mode_t mode) {
  switch (mode & S_IFMT) {
    case S_IFDIR:
      return OV_FILE_DIRECTORY;
    case S_IFREG:
      return OV_FILE_REGULAR;
    case S_IFCHR:
      return OV_FILE_CHAR;
    case S_IFBLK:
      return OV_FILE_BLOCK;
    case S_IFIFO:
      return OV_FILE_FIFO;
    case S_IFSOCK:
      return OV_FILE_SOCK;
    case S_IFLNK:
      return OV_FILE_SYMLINK;
    default:
      return OV_FILE_UNKNOWN;
  }
}

void fillStatus(const struct stat& from, ov_file_status* status) {
  status->kind = kindOf(from.st_mode);
  status->size = static_cast<uint64_t>(from.st_size);
  status->atime = from.st_atime;
  status->mtime = from.st_mtime;
  status->ctime = from.st_ctime;
}

}  // namespace

int ov_file_init(ov_file_t* file) {
  if (file == nullptr) {
    return OV_EINVAL;
  }
  *file = -1;
  return OV_OK;
}

int ov_file_openread(ov_file_t* file, const char* path) {
  return openFile(file, path, O_RDONLY, 0);
}

int ov_file_openappend(ov_file_t* file, const char* path, unsigned mode) {
  // A pipe that nobody reads is an error, instead of a wait for its reader.
  return openFile(file, path, O_WRONLY | O_CREAT | O_APPEND | O_NONBLOCK, mode);
}

int ov_file_read(ov_file_t file, void* buffer, size_t size, size_t* count) {
  const ssize_t got = read(file, buffer, size);
  const int error = errno;
  storeCount(count, got);
  return got == -1 ? error : OV_OK;
}

int ov_file_write(ov_file_t file, const void* buffer, size_t size, size_t* count) {
  const ssize_t written = write(file, buffer, size);
  const int error = errno;
  storeCount(count, written);
  if (written == -1) {
    ov_err("ov_file_write: write failed. error=%d", error);
    return error;
  }
  return OV_OK;
}

int ov_file_flush(ov_file_t file) {
  return file == -1 ? static_cast<int>(OV_EINVAL) : ov_errno_result(fdatasync(file));
}

int ov_file_close(ov_file_t* file) {
  if (file == nullptr) {
    return OV_EINVAL;
  }
  const int result = ov_errno_result(close(*file));
  *file = -1;
  return result;
}

int ov_file_delete(const char* path) {
  return path == nullptr ? static_cast<int>(OV_EINVAL) : ov_errno_result(unlink(path));
}

int ov_file_hardlink(const char* existing, const char* link_name) {
  if (existing == nullptr || link_name == nullptr) {
    return OV_EINVAL;
  }
  return ov_errno_result(link(existing, link_name));
}

int ov_file_stat(const char* path, ov_file_status* status) {
  struct stat found = {};
  if (path == nullptr || status == nullptr) {
    return OV_EINVAL;
  }
  const int result = ov_errno_result(stat(path, &found));
  if (result == OV_OK) {
    fillStatus(found, status);
  }
  return result;
}

int ov_file_fstat(ov_file_t file, ov_file_status* status) {
  struct stat found = {};
  if (status == nullptr) {
    return OV_EINVAL;
  }
  const int result = ov_errno_result(fstat(file, &found));
  if (result == OV_OK) {
    fillStatus(found, status);
  }
  return result;
}

int ov_file_size(ov_file_t file, uint64_t* size) {
  if (size == nullptr) {
    return OV_EINVAL;
  }
  const off_t end = lseek(file, 0, SEEK_END);
  if (end != -1) {
    *size = static_cast<uint64_t>(end);
    return OV_OK;
  }
  ov_file_status status = {};
  const int result = ov_file_fstat(file, &status);
  if (result == OV_OK) {
    *size = status.size;
  }
  return result;
}

int ov_file_tounixpath(char* path) {
  if (path == nullptr) {
    return OV_EINVAL;
  }
  ov_path_convert_path_to_forward_slashes(path);
  return OV_OK;
}
