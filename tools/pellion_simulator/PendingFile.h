#ifndef PELLION_SIMULATOR_PENDING_FILE_H_
#define PELLION_SIMULATOR_PENDING_FILE_H_

#include <string>

#include "tools/pellion_simulator/FileIo.h"

namespace pellion_simulator {

// A file on its way: written under a temporary name beside its destination, and renamed when it is
// whole. One that is never published vanishes with the object.
class PendingFile {
 public:
  // Makes missing directories above `path`, an absolute one. Throws FileError, or a runtime error
  // when the name is too long.
  explicit PendingFile(const std::string& path);
  ~PendingFile();
  PendingFile(const PendingFile&) = delete;
  PendingFile& operator=(const PendingFile&) = delete;

  // Throws FileError.
  void write(const char* data, size_t size);

  // Gives the file its name, or "name (2).ext", "name (3).ext"... when that is taken (a long
  // name is shortened for that); nothing is ever overwritten. Returns the path it got. Throws
  // FileError.
  std::string publish();

 private:
  const std::string _path;
  const std::string _directory;
  const std::string _name;
  size_t _longestName = 0;  // bytes
  std::string _temporary;   // empty once published
  FdGuard _fd;
};

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_PENDING_FILE_H_
