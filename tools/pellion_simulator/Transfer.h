#ifndef PELLION_SIMULATOR_TRANSFER_H_
#define PELLION_SIMULATOR_TRANSFER_H_

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "tools/pellion_simulator/RateMeter.h"
#include "tools/pellion_simulator/TransferRequest.h"

namespace pellion_simulator {

enum class TransferStatus { eInitiating, eRunning, eCompleted, eFailed, eCancelled };

// The word for it in the activity feed, such as "running".
const char* statusName(TransferStatus status);

struct TransferFile {
  std::string source;
  std::string path;  // where it goes; once it is there, its final name
  int64_t written = 0;
  int64_t expected = -1;  // -1: not known
};

// How a transfer stands at one moment.
struct TransferState {
  std::string id;
  std::string appId;
  Direction direction = Direction::eReceive;
  std::string destination;
  TransferStatus status = TransferStatus::eInitiating;
  std::string error;
  std::vector<TransferFile> files;
  int64_t rate = 0;      // bytes per second
  uint64_t changed = 0;  // the count of the last change

  bool isFinished() const { return status > TransferStatus::eRunning; }
  int64_t written() const;
  int64_t expected() const;  // 0: not known
  int percentage() const;    // 100 only when completed
};

// One transfer, from its request to its end. Safe from every thread; a worker thread changes it,
// all others look at its state. Every change draws a new number from the common counter.
class Transfer {
 public:
  // `changes` is borrowed and must outlive the transfer.
  Transfer(TransferRequest request, std::atomic<uint64_t>* changes);
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

  const TransferRequest& request() const { return _request; }
  TransferState state() const;
  const std::string& id() const { return _id; }
  bool isFinished() const;
  // Whether it changed after this count.
  bool hasChangedSince(uint64_t count) const;

  // False when it has been cancelled before.
  bool begin();
  void setFiles(std::vector<TransferFile> files);
  void setExpected(size_t file, int64_t bytes);
  void addWritten(size_t file, size_t bytes);
  // The file is whole and lies at `path`.
  void finishFile(size_t file, const std::string& path);
  void finish(TransferStatus status, const std::string& error = "");

  // One that still waits ends at once, a running one when its mover notices.
  void cancel();
  bool isCancelled() const { return _cancelled; }

 private:
  void noteChange();

  const TransferRequest _request;
  const std::string _id;
  std::atomic<uint64_t>* const _changes;
  std::atomic<bool> _cancelled{false};
  mutable std::mutex _mutex;
  TransferState _state;  // guarded by _mutex
  RateMeter _meter;      // guarded by _mutex
  int64_t _total = 0;    // guarded by _mutex: all bytes written
};

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_TRANSFER_H_
