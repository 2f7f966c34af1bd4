#include <unistd.h>

#include <cerrno>
#include <vector>

#include "tools/pellion_simulator/Movers.h"

namespace pellion_simulator {

namespace {

const size_t kLargestChunk = size_t{256} * 1024;

}  // namespace

void copyFile(const std::string& source, PendingFile* target, MoveProgress* progress) {
  off_t size = 0;
  const FdGuard fd = openRegularFile(source, &size);
  progress->expect(size);
  std::vector<char> buffer(kLargestChunk);
  for (;;) {
    const ssize_t count = read(fd.get(), buffer.data(), progress->chunkSize(buffer.size()));
    if (count == 0) {
      return;
    }
    if (count > 0) {
      target->write(buffer.data(), static_cast<size_t>(count));
      progress->moved(static_cast<size_t>(count));
    } else if (errno != EINTR) {
      throw FileError("cannot read", source, errno);
    }
  }
}

}  // namespace pellion_simulator
