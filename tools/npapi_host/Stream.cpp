#include "tools/npapi_host/Stream.h"

#include <algorithm>
#include <atomic>

#include "tools/npapi_host/Instance.h"
#include "tools/npapi_host/MainLoop.h"
#include "tools/npapi_host/PageSide.h"

namespace npapi_host {

static constexpr unsigned kRetryMilliseconds = 10;

Stream::Stream(const std::shared_ptr<Instance>& instance, const std::string& address)
    : _instance(instance), _address(address) {}

void Stream::notifyWith(const std::string& address, void* data) {
  _notify = true;
  _notifyAddress = address;
  _record.notifyData = data;
}

void Stream::begin() {
  _postPump = makePumpPoster();
  const std::shared_ptr<Instance> instance = _instance.lock();
  _fetch = std::make_unique<Fetch>(_address, instance->services().page->userAgent(),
                                   [post = _postPump] { post(0); });
}

// The transfer's thread must not hold the stream itself, which joins it.
std::function<void(unsigned)> Stream::makePumpPoster() {
  const auto pending = std::make_shared<std::atomic<bool>>(false);
  return [pending, weak = weak_from_this()](unsigned milliseconds) {
    if (pending->exchange(true)) {
      return;
    }
    MainLoop::postLater(milliseconds, [pending, weak] {
      *pending = false;
      if (const std::shared_ptr<Stream> stream = weak.lock()) {
        stream->pump();
      }
    });
  };
}

// The module may run a main loop of its own inside a stream call, and the instance may end in
// there.
void Stream::pump() {
  const std::shared_ptr<Instance> instance = _instance.lock();
  if (_closed || _pumping || instance == nullptr) {
    return;
  }
  const std::shared_ptr<Stream> self = shared_from_this();
  _pumping = true;
  Progress progress = _opened || open() ? Progress::kMore : Progress::kLater;
  for (int piece = 0; progress == Progress::kMore && !_closed; ++piece) {
    if (piece == kPiecesAtOnce) {
      _postPump(0);  // the page's turn
      break;
    }
    progress = writePiece(instance.get());
  }
  _pumping = false;
}

// True once the module has accepted the stream.
bool Stream::open() {
  const bool ended = _fetch->ended();
  if (!_fetch->head(&_head)) {
    if (ended) {
      close(NPRES_NETWORK_ERR);
    }
    return false;
  }
  const std::shared_ptr<Instance> instance = _instance.lock();
  const NPPluginFuncs& plugin = *instance->services().plugin;
  _record.url = _head.address.c_str();
  _record.end = _head.length;
  _record.lastmodified = _head.modified;
  _record.headers = _head.headers.empty() ? nullptr : _head.headers.c_str();
  uint16_t mode = NP_NORMAL;
  std::string type = _head.type;
  const bool takesStreams =
      plugin.newstream != nullptr && plugin.writeready != nullptr && plugin.write != nullptr;
  const NPError code = !takesStreams
                           ? NPERR_GENERIC_ERROR
                           : plugin.newstream(instance->npp(), type.data(), &_record, 0, &mode);
  if (_closed) {
    return false;
  }
  if (code != NPERR_NO_ERROR) {
    close(NPRES_NETWORK_ERR);  // not opened: no NPP_DestroyStream
    return false;
  }
  _opened = true;
  if (_head.status >= 400 || mode != NP_NORMAL) {  // neither seekable streams nor files are offered
    close(NPRES_NETWORK_ERR);
    return false;
  }
  return true;
}

// False when nothing lies ready; the stream has ended then, or goes on later.
bool Stream::takeMore() {
  const bool ended = _fetch->ended();
  _bytes = _fetch->take();
  _position = 0;
  if (_bytes.empty() && ended) {
    close(_fetch->failed() ? NPRES_NETWORK_ERR : NPRES_DONE);
  }
  return !_bytes.empty();
}

Stream::Progress Stream::writePiece(Instance* instance) {
  const NPPluginFuncs& plugin = *instance->services().plugin;
  if (_position == _bytes.size() && !takeMore()) {
    return Progress::kLater;
  }
  const int32_t ready = plugin.writeready(instance->npp(), &_record);
  if (_closed) {
    return Progress::kClosed;
  }
  if (ready <= 0) {
    _postPump(kRetryMilliseconds);
    return Progress::kLater;
  }
  const auto size =
      std::min(ready, static_cast<int32_t>(std::min(kPieceSize, _bytes.size() - _position)));
  if (size > INT32_MAX - _offset) {
    instance->services().page->complain("a stream of more than 2 GiB is not delivered: " +
                                        _address);
    close(NPRES_NETWORK_ERR);
    return Progress::kClosed;
  }
  const int32_t accepted =
      plugin.write(instance->npp(), &_record, _offset, size, &_bytes[_position]);
  if (_closed) {
    return Progress::kClosed;
  }
  if (accepted < 0) {
    close(NPRES_NETWORK_ERR);
    return Progress::kClosed;
  }
  const size_t taken = static_cast<size_t>(std::min(accepted, size));
  instance->services().page->streamTaken(instance->owner(), &_bytes[_position], taken);
  _position += taken;
  _offset += static_cast<int32_t>(taken);
  if (accepted == 0) {
    _postPump(kRetryMilliseconds);
    return Progress::kLater;
  }
  return Progress::kMore;
}

void Stream::close(NPReason reason) {
  const std::shared_ptr<Instance> instance = _instance.lock();
  if (_closed || instance == nullptr) {
    return;
  }
  const std::shared_ptr<Stream> self = shared_from_this();
  _closed = true;
  const NPPluginFuncs& plugin = *instance->services().plugin;
  if (_opened && plugin.destroystream != nullptr) {
    plugin.destroystream(instance->npp(), &_record, reason);
    instance->services().page->streamEnded(instance->owner());
  }
  if (_notify && plugin.urlnotify != nullptr && !instance->ended()) {
    plugin.urlnotify(instance->npp(), _notifyAddress.c_str(), reason, _record.notifyData);
  }
  instance->forgetStream(this);
}

}  // namespace npapi_host
