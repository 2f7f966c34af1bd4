#ifndef PELLION_SIMULATOR_RUNTIME_FILES_H_
#define PELLION_SIMULATOR_RUNTIME_FILES_H_

#include <stdexcept>
#include <string>

#include "tools/pellion_simulator/FileIo.h"

namespace pellion_simulator {

// Another copy of the program runs for the same user.
class AlreadyRunning : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The per-user tree ~/.orvane/pellion and what this process publishes there: its address in
// var/run/http.uri and its process id in var/run/process.pid. A lock file makes the process the
// only one that does; the kernel drops the lock with the process.
class RuntimeFiles {
 public:
  // Makes the tree, takes the lock, and removes what a killed copy left. Throws AlreadyRunning or
  // FileError.
  explicit RuntimeFiles(const std::string& home);
  // Withdraws.
  ~RuntimeFiles();
  RuntimeFiles(const RuntimeFiles&) = delete;
  RuntimeFiles& operator=(const RuntimeFiles&) = delete;

  std::string logPath() const { return joinPath(_root, "var/log/orvane-pellion.log"); }
  std::string settingsPath() const { return joinPath(_root, "etc/orvanepellion.conf"); }

  // Throws FileError.
  void publish(int port);
  // Removes both files and frees the lock: from now on another copy may start.
  void withdraw();

 private:
  void lock();
  void removePublished() const;

  const std::string _root;
  FdGuard _lock;
};

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_RUNTIME_FILES_H_
