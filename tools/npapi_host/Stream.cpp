#include "tools/npapi_host/Stream.h"

#include <algorithm>

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
  const std::weak_ptr<Stream> weak = weak_from_this();
  const auto changed = [weak] {
    MainLoop::post([weak] {
      if (const std::shared_ptr<Stream> stream = weak.lock()) {
        stream->pump();
      }
    });
  };
  const std::shared_ptr<Instance> instance = _instance.lock();
  _fetch = std::make_unique<Fetch>(_address, instance->services().page->userAgent(), changed);
}

void Stream::pumpAgain(unsigned milliseconds) {
  if (_pumpScheduled) {
    return;
  }
  _pumpScheduled = true;
  const std::weak_ptr<Stream> weak = weak_from_this();
  MainLoop::postLater(milliseconds, [weak] {
    if (const std::shared_ptr<Stream> stream = weak.lock()) {
      stream->_pumpScheduled = false;
      stream->pump();
    }
  });
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
      pumpAgain(0);  // the page's turn
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
  const NPError code = plugin.newstream == nullptr
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

Stream::Progress Stream::writePiece(Instance* instance) {
  const NPPluginFuncs& plugin = *instance->services().plugin;
  if (_piece.empty()) {
    const bool ended = _fetch->ended();
    _piece = _fetch->take(kPieceSize);
    if (_piece.empty()) {
      if (ended) {
        close(_fetch->failed() ? NPRES_NETWORK_ERR : NPRES_DONE);
      }
      return Progress::kLater;
    }
  }
  const int32_t ready = plugin.writeready(instance->npp(), &_record);
  if (_closed) {
    return Progress::kClosed;
  }
  if (ready <= 0) {
    pumpAgain(kRetryMilliseconds);
    return Progress::kLater;
  }
  const int32_t size = std::min(ready, static_cast<int32_t>(_piece.size()));
  std::string bytes = _piece.substr(0, size);
  const int32_t accepted = plugin.write(instance->npp(), &_record, _offset, size, bytes.data());
  if (_closed) {
    return Progress::kClosed;
  }
  if (accepted < 0) {
    close(NPRES_NETWORK_ERR);
    return Progress::kClosed;
  }
  _piece.erase(0, std::min(accepted, size));
  _offset += std::min(accepted, size);
  if (accepted == 0) {
    pumpAgain(kRetryMilliseconds);
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
  }
  if (_notify && plugin.urlnotify != nullptr && !instance->ended()) {
    plugin.urlnotify(instance->npp(), _notifyAddress.c_str(), reason, _record.notifyData);
  }
  instance->forgetStream(this);
}

}  // namespace npapi_host
