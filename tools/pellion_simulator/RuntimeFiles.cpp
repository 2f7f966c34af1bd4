#include "tools/pellion_simulator/RuntimeFiles.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

namespace pellion_simulator {

namespace {

const char kUriFile[] = "var/run/http.uri";
const char kPidFile[] = "var/run/process.pid";
const char kLockFile[] = "var/run/orvanepellion.lock";

FdGuard openLockFile(const std::string& path) {
  FdGuard fd(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  if (fd.get() < 0) {
    throw FileError("cannot open", path, errno);
  }
  return fd;
}

}  // namespace

RuntimeFiles::RuntimeFiles(const std::string& home) : _root(joinPath(home, ".orvane/pellion")) {
  for (const char* folder : {"etc", "var/log", "var/run"}) {
    makeDirectories(joinPath(_root, folder), 0700);
  }
  lock();
  removePublished();
}

RuntimeFiles::~RuntimeFiles() {
  withdraw();
}

void RuntimeFiles::lock() {
  const std::string path = joinPath(_root, kLockFile);
  FdGuard fd = openLockFile(path);
  if (flock(fd.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK) {
      throw FileError("cannot lock", path, errno);
    }
    const std::string owner = readFileText(path);
    throw AlreadyRunning("Orvane Pellion runs already" +
                         (owner.empty() ? std::string() : " (process " + owner + ")"));
  }
  const std::string pid = std::to_string(getpid());
  if (ftruncate(fd.get(), 0) != 0) {
    throw FileError("cannot write", path, errno);
  }
  writeAll(fd.get(), pid.data(), pid.size(), path);
  _lock = std::move(fd);
}

void RuntimeFiles::publish(int port) {
  writeFileAtomically(joinPath(_root, kPidFile), std::to_string(getpid()));
  // Readers do not trim: no line break at the end.
  writeFileAtomically(joinPath(_root, kUriFile), "http://127.0.0.1:" + std::to_string(port) + "/");
}

void RuntimeFiles::withdraw() {
  if (_lock.get() >= 0) {
    removePublished();
    _lock.reset();
  }
}

void RuntimeFiles::removePublished() const {
  unlink(joinPath(_root, kUriFile).c_str());
  unlink(joinPath(_root, kPidFile).c_str());
}

}  // namespace pellion_simulator
