#ifndef TOOLS_NPAPI_HOST_STREAM_H_
#define TOOLS_NPAPI_HOST_STREAM_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "npapi/npfunctions.h"
#include "tools/npapi_host/Fetch.h"

namespace npapi_host {

class Instance;

// One resource on its way to one instance: NPP_NewStream, NPP_WriteReady and NPP_Write until all is
// delivered, NPP_DestroyStream. Nothing is called before the main loop comes round, and never so
// much at once that the page would wait. A resource that cannot be reached makes no stream; one
// that the server refuses makes a stream that ends at once; so does one at the 2 GiB that offsets
// can tell.
class Stream : public std::enable_shared_from_this<Stream> {
 public:
  Stream(const std::shared_ptr<Instance>& instance, const std::string& address);
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  // NPP_URLNotify shall follow the end; to be called before begin().
  void notifyWith(const std::string& address, void* data);
  void begin();
  // Ends it early, or well; the instance forgets the stream.
  void close(NPReason reason);

 private:
  static constexpr size_t kPieceSize = 8128;
  static constexpr int kPiecesAtOnce = 64;
  enum class Progress { kMore, kLater, kClosed };

  void pump();
  bool open();
  Progress writePiece(Instance* instance);
  bool takeMore();
  std::function<void(unsigned)> makePumpPoster();

  std::weak_ptr<Instance> _instance;
  const std::string _address;
  std::unique_ptr<Fetch> _fetch;
  FetchHead _head;
  NPStream _record = {};
  bool _opened = false;
  bool _closed = false;
  bool _pumping = false;
  // Pumps in so many milliseconds, unless a pump is pending already. Any thread.
  std::function<void(unsigned)> _postPump;
  bool _notify = false;
  std::string _notifyAddress;
  std::string _bytes;  // taken from the fetch; accepted up to _position
  size_t _position = 0;
  int32_t _offset = 0;
};

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_STREAM_H_
