#include "plugin/src/File.h"

#include <memory>
#include <new>

#include "ovlib/overrno.h"
#include "ovlib/ovlog.h"
#include "ovlib/ovplatform.h"

namespace Pellion::Web {

namespace {

// Far above any file that this class is meant for; a sparse file may announce terabytes.
constexpr uint64_t kMaxSize = 16 * 1024 * 1024;

// Opening a pipe waits for its writer, and nothing but a regular file has a size to read. A
// directory is left to the read, which refuses it.
int checkKind(const std::string& path) {
  ov_file_status status;
  const bool known = ov_file_stat(path.c_str(), &status) == OV_OK;
  const bool special = known && status.kind != OV_FILE_REGULAR && status.kind != OV_FILE_DIRECTORY;
  return special ? OV_ENOTSUP : OV_OK;
}

}  // namespace

File::File(const std::string& path) : _path(path) {
  const int code = ov_file_init(&_handle);
  setError(code);
  if (code != OV_OK) {
    ov_err("File::File() error: %s", _error);
    _handle = -1;
  }
}

File::~File() {
  if (_handle != -1) {
    close();
  }
}

bool File::open() {
  int code = checkKind(_path);
  if (code == OV_OK) {
    code = ov_file_openread(&_handle, _path.c_str());
  }
  setError(code);
  if (code != OV_OK) {
    ov_trace("File::open() failed: %s", _error);
  }
  return code == OV_OK;
}

void File::close() {
  ov_file_close(&_handle);
  _handle = -1;
}

// Deliberate: one read call, so a short read gives the beginning only.
std::string File::read() {
  const uint64_t length = size();
  if (_handle == -1 || length > kMaxSize) {
    return std::string();
  }
  const std::unique_ptr<char[]> text(new (std::nothrow) char[length + 1]());
  size_t count = 0;
  if (!text || ov_file_read(_handle, text.get(), length, &count) != OV_OK) {
    return std::string();
  }
  text[count] = '\0';
  return text.get();
}

uint64_t File::size() {
  ov_file_status status;
  return ov_file_fstat(_handle, &status) == OV_OK ? status.size : 0;
}

void File::setError(int code) {
  _error[0] = '\0';
  if (code != OV_OK) {
    ov_platform_errstr(code, _error, sizeof(_error));
  }
}

}  // namespace Pellion::Web
