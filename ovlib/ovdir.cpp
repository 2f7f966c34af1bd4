#include "ovlib/ovdir.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "ovlib/overrno.h"
#include "ovlib/ovfile.h"
#include "ovlib/ovpath.h"
#include "ovlib/ovstring.h"

namespace {

int examine(const char* path) {
  ov_file_status status;
  const int result = ov_file_stat(path, &status);
  if (result != OV_OK) {
    return result;
  }
  return status.kind == OV_FILE_DIRECTORY ? OV_OK : OV_ENOTDIR;
}

int createOne(const char* path, mode_t mode) {
  const int found = examine(path);
  if (found != OV_ENOENT || mkdir(path, mode) == 0) {
    return found == OV_ENOENT ? OV_OK : found;
  }
  const int error = errno;
  // Somebody else may have made it in between.
  return error == EEXIST && examine(path) == OV_OK ? OV_OK : error;
}

}  // namespace

int ov_dir_open(ov_dir_t* dir, const char* path) {
  if (dir == nullptr || path == nullptr) {
    return OV_EINVAL;
  }
  dir->handle = opendir(path);
  return ov_errno_result(dir->handle != nullptr ? 0 : -1);
}

int ov_dir_next(ov_dir_t* dir, char* name, size_t size) {
  if (dir == nullptr || dir->handle == nullptr) {
    return OV_EINVAL;
  }
  errno = 0;
  const dirent* entry = readdir(dir->handle);
  if (entry == nullptr) {
    return errno == 0 ? static_cast<int>(OV_EDIREND) : errno;
  }
  return ov_str_ncpy(name, entry->d_name, size < OV_PATH_MAX ? size : OV_PATH_MAX);
}

int ov_dir_close(ov_dir_t* dir) {
  if (dir == nullptr || dir->handle == nullptr) {
    return OV_EINVAL;
  }
  const int result = ov_errno_result(closedir(dir->handle));
  dir->handle = nullptr;
  return result;
}

int ov_dir_create(const char* path, mode_t mode, bool recursive) {
  if (path == nullptr) {
    return OV_EINVAL;
  }
  const char* slash = recursive && *path != '\0' ? strchr(path + 1, '/') : nullptr;
  for (; slash != nullptr; slash = strchr(slash + 1, '/')) {
    char prefix[OV_PATH_MAX];
    const size_t length = static_cast<size_t>(slash - path);
    if (length >= sizeof(prefix)) {
      return OV_ERANGE;
    }
    memcpy(prefix, path, length);
    prefix[length] = '\0';
    const int result = createOne(prefix, mode);
    if (result != OV_OK) {
      return result;
    }
  }
  return createOne(path, mode);
}
