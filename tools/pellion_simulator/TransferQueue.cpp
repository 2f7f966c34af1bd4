#include "tools/pellion_simulator/TransferQueue.h"

#include <algorithm>
#include <chrono>

#include "tools/pellion_simulator/Log.h"
#include "tools/pellion_simulator/TransferJob.h"

namespace pellion_simulator {

namespace {

const int kWorkers = 3;
const size_t kMostListed = 1000;

uint64_t clockMicroseconds() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

}  // namespace

TransferQueue::TransferQueue(const Settings* settings)
    : _settings(settings), _changes(clockMicroseconds()), _firstChange(_changes) {
  applyRateLimit();
  for (int i = 0; i < kWorkers; ++i) {
    _workers.emplace_back([this] { work(); });
  }
}

TransferQueue::~TransferQueue() {
  stop();
}

std::string TransferQueue::add(TransferRequest request) {
  std::lock_guard<std::mutex> lock(_mutex);
  // Made under the lock: no reader may see its change number before the transfer itself.
  const auto transfer = std::make_shared<Transfer>(std::move(request), &_changes);
  const TransferState state = transfer->state();
  logLine("Transfer " + state.id + ": " +
          (state.direction == Direction::eSend ? "upload of " : "download of ") +
          std::to_string(state.files.size()) + " source(s), the first one " +
          state.files[0].source);
  forgetOldest();
  _transfers.push_back(transfer);
  if (_stopped) {
    transfer->cancel();
  } else {
    _waiting.push_back(transfer);
    _wake.notify_one();
  }
  return state.id;
}

void TransferQueue::forgetOldest() {
  if (_transfers.size() < kMostListed) {
    return;
  }
  const auto finished = std::find_if(_transfers.begin(), _transfers.end(),
                                     [](const auto& transfer) { return transfer->isFinished(); });
  if (finished != _transfers.end()) {
    _transfers.erase(finished);
  }
}

TransferQueue::Changes TransferQueue::changesSince(uint64_t count) const {
  Changes changes;
  std::vector<std::shared_ptr<Transfer>> transfers;
  {
    std::lock_guard<std::mutex> lock(_mutex);
    changes.count = _changes;
    transfers = _transfers;
  }
  const bool ofThisRun = count >= _firstChange && count <= changes.count;
  for (const auto& transfer : transfers) {
    if (!ofThisRun || transfer->hasChangedSince(count)) {
      changes.transfers.push_back(transfer->state());
    }
  }
  return changes;
}

std::set<std::string> TransferQueue::ids() const {
  std::lock_guard<std::mutex> lock(_mutex);
  std::set<std::string> ids;
  for (const auto& transfer : _transfers) {
    ids.insert(transfer->id());
  }
  return ids;
}

bool TransferQueue::cancel(const std::string& id) {
  std::lock_guard<std::mutex> lock(_mutex);
  for (const auto& transfer : _transfers) {
    if (transfer->id() == id) {
      transfer->cancel();
      return true;
    }
  }
  return false;
}

void TransferQueue::stop() {
  {
    std::lock_guard<std::mutex> lock(_mutex);
    _stopped = true;
    for (const auto& transfer : _transfers) {
      transfer->cancel();
    }
    _wake.notify_all();
  }
  for (std::thread& worker : _workers) {
    worker.join();
  }
  _workers.clear();
}

std::shared_ptr<Transfer> TransferQueue::next() {
  std::unique_lock<std::mutex> lock(_mutex);
  _wake.wait(lock, [this] { return _stopped || !_waiting.empty(); });
  if (_stopped) {
    return nullptr;
  }
  std::shared_ptr<Transfer> transfer = _waiting.front();
  _waiting.pop_front();
  return transfer;
}

void TransferQueue::work() {
  while (const std::shared_ptr<Transfer> transfer = next()) {
    runTransfer(transfer.get(), _settings->downloadDirectory(), &_limiter);
  }
}

}  // namespace pellion_simulator
