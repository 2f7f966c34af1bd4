#include "tools/pellion_simulator/Transfer.h"

#include <glib.h>

#include <algorithm>

namespace pellion_simulator {

const char* statusName(TransferStatus status) {
  switch (status) {
    case TransferStatus::eInitiating:
      return "initiating";
    case TransferStatus::eRunning:
      return "running";
    case TransferStatus::eCompleted:
      return "completed";
    case TransferStatus::eFailed:
      return "failed";
    case TransferStatus::eCancelled:
      return "cancelled";
  }
  return "";
}

int64_t TransferState::written() const {
  int64_t sum = 0;
  for (const TransferFile& file : files) {
    sum += file.written;
  }
  return sum;
}

int64_t TransferState::expected() const {
  int64_t sum = 0;
  for (const TransferFile& file : files) {
    if (file.expected < 0) {
      return status == TransferStatus::eCompleted ? written() : 0;
    }
    sum += file.expected;
  }
  return sum;
}

int TransferState::percentage() const {
  if (status == TransferStatus::eCompleted) {
    return 100;
  }
  const int64_t all = expected();
  return all > 0 ? static_cast<int>(std::min<int64_t>(99, written() * 100 / all)) : 0;
}

namespace {

std::string randomId() {
  char* text = g_uuid_string_random();
  std::string id = text;
  g_free(text);
  return id;
}

}  // namespace

Transfer::Transfer(TransferRequest request, std::atomic<uint64_t>* changes)
    : _request(std::move(request)), _id(randomId()), _changes(changes) {
  _state.id = _id;
  _state.appId = _request.appId;
  _state.direction = _request.direction;
  _state.destination = _request.destination;
  for (const RequestedPath& path : _request.paths) {
    _state.files.push_back({path.source, "", 0, -1});
  }
  noteChange();
}

void Transfer::noteChange() {
  _state.changed = ++*_changes;
}

TransferState Transfer::state() const {
  std::lock_guard<std::mutex> lock(_mutex);
  TransferState state = _state;
  state.rate = state.isFinished() ? 0 : _meter.rate(RateMeter::Clock::now());
  return state;
}

bool Transfer::isFinished() const {
  std::lock_guard<std::mutex> lock(_mutex);
  return _state.isFinished();
}

bool Transfer::hasChangedSince(uint64_t count) const {
  std::lock_guard<std::mutex> lock(_mutex);
  return _state.changed > count;
}

bool Transfer::begin() {
  std::lock_guard<std::mutex> lock(_mutex);
  if (_state.isFinished()) {
    return false;
  }
  _state.status = TransferStatus::eRunning;
  _meter.add(0, RateMeter::Clock::now());
  noteChange();
  return true;
}

void Transfer::setFiles(std::vector<TransferFile> files) {
  std::lock_guard<std::mutex> lock(_mutex);
  _state.files = std::move(files);
  noteChange();
}

void Transfer::setExpected(size_t file, int64_t bytes) {
  std::lock_guard<std::mutex> lock(_mutex);
  if (_state.files[file].expected != bytes) {
    _state.files[file].expected = bytes;
    noteChange();
  }
}

void Transfer::addWritten(size_t file, size_t bytes) {
  std::lock_guard<std::mutex> lock(_mutex);
  _state.files[file].written += static_cast<int64_t>(bytes);
  _total += static_cast<int64_t>(bytes);
  _meter.add(_total, RateMeter::Clock::now());
  noteChange();
}

void Transfer::finishFile(size_t file, const std::string& path) {
  std::lock_guard<std::mutex> lock(_mutex);
  _state.files[file].path = path;
  _state.files[file].expected = _state.files[file].written;
  noteChange();
}

void Transfer::finish(TransferStatus status, const std::string& error) {
  std::lock_guard<std::mutex> lock(_mutex);
  _state.status = status;
  _state.error = error;
  noteChange();
}

void Transfer::cancel() {
  _cancelled = true;
  std::lock_guard<std::mutex> lock(_mutex);
  if (_state.status == TransferStatus::eInitiating) {
    _state.status = TransferStatus::eCancelled;
    noteChange();
  }
}

}  // namespace pellion_simulator
