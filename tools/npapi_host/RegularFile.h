#ifndef TOOLS_NPAPI_HOST_REGULAR_FILE_H_
#define TOOLS_NPAPI_HOST_REGULAR_FILE_H_

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace npapi_host {

// A file open for reading. Pipes, devices and directories are not opened, so that nothing waits for
// what may never come.
class RegularFile {
 public:
  explicit RegularFile(const std::string& path);
  ~RegularFile();
  RegularFile(const RegularFile&) = delete;
  RegularFile& operator=(const RegularFile&) = delete;

  bool isOpen() const { return _descriptor >= 0; }
  // As they were when it was opened: bytes, and seconds since 1970.
  int64_t size() const { return _size; }
  int64_t modified() const { return _modified; }
  // Fewer bytes than asked for only at the end; -1 when the file cannot be read.
  ssize_t read(char* bytes, size_t size) const;

 private:
  int _descriptor = -1;
  int64_t _size = 0;
  int64_t _modified = 0;
};

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_REGULAR_FILE_H_
