#include <curl/curl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <exception>
#include <functional>
#include <memory>

#include "tools/pellion_simulator/Movers.h"

namespace pellion_simulator {

namespace {

const long kConnectSeconds = 30;
const long kStallSeconds = 60;
const long kMostRedirections = 10;
const char kProtocols[] = "http,https,ftp,ftps";

// One exchange with a server. The callbacks run inside perform(), on its thread; what they throw is
// kept and thrown again from there.
class CurlExchange {
 public:
  CurlExchange(const std::string& url, MoveProgress* progress);
  CurlExchange(const CurlExchange&) = delete;
  CurlExchange& operator=(const CurlExchange&) = delete;

  // What arrives goes to `consume`.
  void receive(std::function<void(const char*, size_t)> consume);
  // What is sent comes from `produce`, which answers 0 at the end.
  void send(int64_t size, std::function<size_t(char*, size_t)> produce);
  // Throws MoveCancelled or a runtime error with the reason.
  void perform();

 private:
  static size_t onData(char* data, size_t, size_t size, void* self);
  static size_t onRead(char* buffer, size_t, size_t size, void* self);
  static size_t onHeader(char* data, size_t, size_t size, void* self);
  static int onProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t);
  bool guarded(const std::function<void()>& step);
  void checkResult(CURLcode code);
  bool hasBadStatus() const;

  template <typename Value>
  void set(CURLoption option, Value value) {
    if (curl_easy_setopt(_handle.get(), option, value) != CURLE_OK) {
      throw std::runtime_error("libcurl refuses an option");
    }
  }

  struct HandleFree {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
  };
  struct ListFree {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  };
  std::unique_ptr<CURL, HandleFree> _handle;
  std::unique_ptr<curl_slist, ListFree> _headers;
  MoveProgress* const _progress;
  std::function<void(const char*, size_t)> _consume;
  std::function<size_t(char*, size_t)> _produce;
  std::string _statusLine;
  std::exception_ptr _failure;
  char _error[CURL_ERROR_SIZE] = "";
};

// A proxy named in the environment is no way to this machine itself. The list replaces the
// library's own reading of the environment, which is repeated here: the variable in small letters
// goes first, and "*" counts only when it stands alone.
std::string proxyExceptions() {
  std::string listed;
  for (const char* name : {"no_proxy", "NO_PROXY"}) {
    const char* value = listed.empty() ? getenv(name) : nullptr;
    listed = value != nullptr ? value : listed;
  }
  return listed == "*" ? listed : "localhost,127.0.0.0/8,0.0.0.0,::1,::," + listed;
}

CurlExchange::CurlExchange(const std::string& url, MoveProgress* progress)
    : _handle(curl_easy_init()), _progress(progress) {
  if (!_handle) {
    throw std::runtime_error("libcurl cannot be used");
  }
  set(CURLOPT_URL, url.c_str());
  set(CURLOPT_PROTOCOLS_STR, kProtocols);
  set(CURLOPT_ERRORBUFFER, _error);
  set(CURLOPT_NOSIGNAL, 1L);
  set(CURLOPT_NOPROXY, proxyExceptions().c_str());
  set(CURLOPT_FAILONERROR, 1L);
  set(CURLOPT_CONNECTTIMEOUT, kConnectSeconds);
  set(CURLOPT_LOW_SPEED_LIMIT, 1L);
  set(CURLOPT_LOW_SPEED_TIME, kStallSeconds);
  set(CURLOPT_USERAGENT, "Orvane Pellion");
  set(CURLOPT_HEADERFUNCTION, &CurlExchange::onHeader);
  set(CURLOPT_HEADERDATA, static_cast<void*>(this));
  set(CURLOPT_NOPROGRESS, 0L);
  set(CURLOPT_XFERINFOFUNCTION, &CurlExchange::onProgress);
  set(CURLOPT_XFERINFODATA, static_cast<void*>(this));
  set(CURLOPT_WRITEFUNCTION, &CurlExchange::onData);
  set(CURLOPT_WRITEDATA, static_cast<void*>(this));
}

void CurlExchange::receive(std::function<void(const char*, size_t)> consume) {
  _consume = std::move(consume);
  set(CURLOPT_FOLLOWLOCATION, 1L);
  set(CURLOPT_MAXREDIRS, kMostRedirections);
  set(CURLOPT_REDIR_PROTOCOLS_STR, kProtocols);
}

void CurlExchange::send(int64_t size, std::function<size_t(char*, size_t)> produce) {
  _produce = std::move(produce);
  // Servers that do not know the question would cost a second's wait.
  _headers.reset(curl_slist_append(nullptr, "Expect:"));
  set(CURLOPT_HTTPHEADER, _headers.get());
  set(CURLOPT_UPLOAD, 1L);
  set(CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(size));
  set(CURLOPT_READFUNCTION, &CurlExchange::onRead);
  set(CURLOPT_READDATA, static_cast<void*>(this));
}

void CurlExchange::perform() {
  checkResult(curl_easy_perform(_handle.get()));
}

void CurlExchange::checkResult(CURLcode code) {
  if (_failure) {
    std::rethrow_exception(_failure);
  }
  if (_progress->isCancelled()) {
    throw MoveCancelled();
  }
  if (code == CURLE_HTTP_RETURNED_ERROR || (code == CURLE_OK && hasBadStatus())) {
    throw std::runtime_error("the server answered \"" + _statusLine + "\"");
  }
  if (code != CURLE_OK) {
    throw std::runtime_error(*_error != '\0' ? _error : curl_easy_strerror(code));
  }
}

// An answer such as a redirection of an upload moves nothing either.
bool CurlExchange::hasBadStatus() const {
  long status = 0;
  curl_easy_getinfo(_handle.get(), CURLINFO_RESPONSE_CODE, &status);
  return status / 100 != 2;
}

bool CurlExchange::guarded(const std::function<void()>& step) {
  try {
    step();
    return true;
  } catch (const std::exception&) {
    _failure = std::current_exception();
    return false;
  }
}

size_t CurlExchange::onData(char* data, size_t, size_t size, void* self) {
  auto* exchange = static_cast<CurlExchange*>(self);
  if (!exchange->_consume) {
    return size;
  }
  curl_off_t total = -1;
  curl_easy_getinfo(exchange->_handle.get(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &total);
  exchange->_progress->expect(total);
  return exchange->guarded([&] { exchange->_consume(data, size); }) ? size : 0;
}

size_t CurlExchange::onRead(char* buffer, size_t, size_t size, void* self) {
  auto* exchange = static_cast<CurlExchange*>(self);
  size_t count = 0;
  const bool ok = exchange->guarded([&] { count = exchange->_produce(buffer, size); });
  return ok ? count : CURL_READFUNC_ABORT;
}

size_t CurlExchange::onHeader(char* data, size_t, size_t size, void* self) {
  const std::string line(data, size);
  if (line.compare(0, 5, "HTTP/") == 0) {
    // "HTTP/1.1 404 Not Found": what follows the version.
    const std::string rest = line.substr(std::min(line.find(' ') + 1, line.size()));
    static_cast<CurlExchange*>(self)->_statusLine =
        rest.substr(0, rest.find_last_not_of(" \r\n") + 1);
  }
  return size;
}

int CurlExchange::onProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
  return static_cast<CurlExchange*>(self)->_progress->isCancelled() ? 1 : 0;
}

}  // namespace

void downloadFile(const std::string& url, PendingFile* target, MoveProgress* progress) {
  CurlExchange exchange(url, progress);
  exchange.receive([&](const char* data, size_t size) {
    for (size_t done = 0; done < size;) {
      const size_t count = progress->chunkSize(size - done);
      target->write(data + done, count);
      progress->moved(count);
      done += count;
    }
  });
  exchange.perform();
}

void uploadFile(const std::string& source, const std::string& url, MoveProgress* progress) {
  off_t size = 0;
  const FdGuard fd = openRegularFile(source, &size);
  progress->expect(size);
  CurlExchange exchange(url, progress);
  exchange.send(size, [&](char* buffer, size_t room) -> size_t {
    const ssize_t count = read(fd.get(), buffer, progress->chunkSize(room));
    if (count < 0) {
      throw FileError("cannot read", source, errno);
    }
    progress->moved(static_cast<size_t>(count));
    return static_cast<size_t>(count);
  });
  exchange.perform();
}

}  // namespace pellion_simulator
