#ifndef PLUGIN_SRC_FILE_H_
#define PLUGIN_SRC_FILE_H_

#include <cstdint>
#include <string>

#include "ovlib/ovfile.h"

namespace Pellion::Web {

// Reads one small text file whole: open(), read(), close(). Used by one thread. A file that cannot
// be read counts as empty; nothing throws because of what lies at the path.
class File {
 public:
  explicit File(const std::string& path);
  ~File();
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  // False when there is nothing readable at the path. Never waits for the writer of a pipe.
  bool open();
  void close();
  // The content up to its first zero byte. Empty when no file is open, the read fails or the file
  // is larger than 16 MiB.
  std::string read();
  // Bytes; 0 when no file is open.
  uint64_t size();

 private:
  void setError(int code);

  std::string _path;
  ov_file_t _handle;  // -1 when no file is open
  char _error[4096];  // text of the last failure, empty after a success
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_FILE_H_
