#ifndef TOOLS_NPAPI_HOST_FETCH_H_
#define TOOLS_NPAPI_HOST_FETCH_H_

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "tools/npapi_host/CurlLibrary.h"

namespace npapi_host {

// What is known of a resource before its first byte.
struct FetchHead {
  std::string address;  // where redirections ended
  std::string type;
  std::string headers;  // as received; empty unless it came by HTTP
  long status = 200;
  uint32_t length = 0;  // 0: unknown
  uint32_t modified = 0;
};

// Brings the bytes behind one absolute address (file, data, http, https; in lower case) to the main
// thread. A thread of its own does the transfer and stops when too much lies unread. Of files, only
// regular ones are read. The destructor cancels and joins.
class Fetch {
 public:
  // `changed` is called on the transfer's thread whenever there is something new to look at.
  Fetch(const std::string& address, const std::string& userAgent, std::function<void()> changed);
  ~Fetch();
  Fetch(const Fetch&) = delete;
  Fetch& operator=(const Fetch&) = delete;

  // False until the first byte or the end of an empty resource has come; never true for what could
  // not be reached.
  bool head(FetchHead* head) const;
  // The transfer is over, well or badly; bytes may still lie unread.
  bool ended() const;
  bool failed() const;
  // All unread bytes.
  std::string take();

 private:
  static size_t receive(char* bytes, size_t size, size_t count, void* self);
  static size_t receiveHeader(char* bytes, size_t size, size_t count, void* self);
  void run();
  bool decodeData();
  bool readFile();
  bool fetch();
  bool transfer(const CurlLibrary& curl, CURL* easy);
  void setUp(const CurlLibrary& curl, CURL* easy);
  void setMulti(CURLM* multi);
  bool cancelled() const;
  void publishHead(CURL* easy);
  void publish(const FetchHead& head);
  bool store(const char* bytes, size_t size);

  const std::string _address;
  const std::string _userAgent;
  const std::function<void()> _changed;
  CURL* _easy = nullptr;  // the transfer thread's
  std::string _headers;   // the transfer thread's

  mutable std::mutex _mutex;
  std::condition_variable _room;
  // Guarded by _mutex.
  FetchHead _head;
  bool _headKnown = false;
  bool _ended = false;
  bool _failed = false;
  bool _cancelled = false;
  CURLM* _multi = nullptr;  // set and read by the transfer thread; to wake it
  std::string _bytes;

  std::thread _thread;
};

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_FETCH_H_
