#include "ovlib/ovplatform.h"

#include <dlfcn.h>
#include <link.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "ovlib/overrno.h"
#include "ovlib/ovstring.h"

namespace {

// The file that holds this code. A program is named by its first argument only, so it is asked for
// by its link in /proc.
const char* ownFile() {
  Dl_info info = {};
  void* extra = nullptr;
  void* self = reinterpret_cast<void*>(&ov_platform_root);
  if (dladdr1(self, &info, &extra, RTLD_DL_LINKMAP) == 0 || extra == nullptr) {
    return nullptr;
  }
  const char* name = static_cast<const link_map*>(extra)->l_name;
  return *name == '\0' ? "/proc/self/exe" : name;
}

void cutLastSegment(char* path) {
  char* slash = strrchr(path, '/');
  slash[slash == path ? 1 : 0] = '\0';
}

}  // namespace

int ov_platform_errstr(int code, char* buffer, size_t size) {
  if (buffer == nullptr || size == 0) {
    return OV_EINVAL;
  }
  char scratch[256];
  const char* text = ov_errno_library_text(code);
  return ov_str_ncpy(buffer, text != nullptr ? text : strerror_r(code, scratch, sizeof(scratch)),
                     size);
}

int ov_platform_root(char* buffer, size_t size) {
  if (buffer == nullptr || size == 0) {
    return OV_EINVAL;
  }
  char path[PATH_MAX];
  const char* file = ownFile();
  if (file == nullptr) {
    return OV_ENOENT;
  }
  if (realpath(file, path) == nullptr) {
    return errno;
  }
  cutLastSegment(path);
  cutLastSegment(path);
  return ov_str_ncpy(buffer, path, size);
}
