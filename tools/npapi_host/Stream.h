#ifndef TOOLS_NPAPI_HOST_STREAM_H_
#define TOOLS_NPAPI_HOST_STREAM_H_

#include <memory>
#include <string>

#include "npapi/npfunctions.h"
#include "tools/npapi_host/Fetch.h"

namespace npapi_host {

class Instance;

// One resource on its way to one instance: NPP_NewStream, NPP_WriteReady and NPP_Write until all is
// delivered, NPP_DestroyStream. Nothing is called before the main loop comes round. A resource that
// cannot be reached makes no stream; one that the server refuses makes a stream that ends at once.
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
  static constexpr int32_t kPieceSize = 8128;
  static constexpr int kPiecesAtOnce = 64;
  enum class Progress { kMore, kLater, kClosed };

  void pump();
  bool open();
  Progress writePiece(Instance* instance);
  void pumpAgain(unsigned milliseconds);

  std::weak_ptr<Instance> _instance;
  const std::string _address;
  std::unique_ptr<Fetch> _fetch;
  FetchHead _head;
  NPStream _record = {};
  bool _opened = false;
  bool _closed = false;
  bool _pumping = false;
  bool _pumpScheduled = false;
  bool _notify = false;
  std::string _notifyAddress;
  std::string _piece;  // taken from the fetch, not accepted yet
  int32_t _offset = 0;
};

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_STREAM_H_
