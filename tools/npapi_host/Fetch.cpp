#include "tools/npapi_host/Fetch.h"

#include <utility>
#include <vector>

#include "tools/npapi_host/Address.h"
#include "tools/npapi_host/RegularFile.h"

namespace npapi_host {

// The transfer waits while more than this lies unread.
static constexpr size_t kMaxUnread = 1 << 20;
static constexpr size_t kFilePiece = 1 << 16;

// What the interface has 32 bits for; 0 is unknown.
static uint32_t sizeOrUnknown(int64_t number) {
  return number > 0 && number <= UINT32_MAX ? static_cast<uint32_t>(number) : 0;
}

Fetch::Fetch(const std::string& address, const std::string& userAgent,
             std::function<void()> changed)
    : _address(address), _userAgent(userAgent), _changed(std::move(changed)) {
  _thread = std::thread(&Fetch::run, this);
}

Fetch::~Fetch() {
  {
    std::lock_guard<std::mutex> lock(_mutex);
    _cancelled = true;
    if (_multi != nullptr) {
      CurlLibrary::get()->multiWakeup(_multi);
    }
  }
  _room.notify_all();
  _thread.join();
}

bool Fetch::head(FetchHead* head) const {
  std::lock_guard<std::mutex> lock(_mutex);
  if (_headKnown) {
    *head = _head;
  }
  return _headKnown;
}

bool Fetch::ended() const {
  std::lock_guard<std::mutex> lock(_mutex);
  return _ended;
}

bool Fetch::failed() const {
  std::lock_guard<std::mutex> lock(_mutex);
  return _failed;
}

std::string Fetch::take() {
  std::string bytes;
  {
    std::lock_guard<std::mutex> lock(_mutex);
    bytes.swap(_bytes);
  }
  _room.notify_all();
  return bytes;
}

void Fetch::run() {
  const std::string scheme = schemeOf(_address);
  bool good;
  if (scheme == "data") {
    good = decodeData();
  } else if (scheme == "file") {
    good = readFile();
  } else {
    good = fetch();
  }
  {
    std::lock_guard<std::mutex> lock(_mutex);
    _ended = true;
    _failed = !good;
  }
  _changed();
}

bool Fetch::decodeData() {
  FetchHead head;
  std::string bytes;
  if (!decodeDataAddress(_address, &head.type, &bytes)) {
    return false;
  }
  head.address = _address;
  head.length = sizeOrUnknown(static_cast<int64_t>(bytes.size()));
  publish(head);
  std::lock_guard<std::mutex> lock(_mutex);
  _bytes = std::move(bytes);
  return true;
}

bool Fetch::readFile() {
  const std::string path = pathOfFileAddress(_address);
  const RegularFile file(path);
  if (!file.isOpen()) {
    return false;
  }
  FetchHead head;
  head.address = _address;
  head.type = typeOfFile(path);
  head.length = sizeOrUnknown(file.size());
  head.modified = sizeOrUnknown(file.modified());
  publish(head);
  std::vector<char> buffer(kFilePiece);
  ssize_t count;
  do {
    count = file.read(buffer.data(), buffer.size());
  } while (count > 0 && store(buffer.data(), static_cast<size_t>(count)));
  return count == 0;
}

bool Fetch::fetch() {
  const CurlLibrary* curl = CurlLibrary::get();
  if (curl == nullptr) {
    return false;
  }
  setMulti(curl->multiInit());
  _easy = curl->easyInit();
  const bool good = transfer(*curl, _easy);
  if (good) {
    publishHead(_easy);
  }
  curl->easyCleanup(_easy);
  CURLM* multi = _multi;
  setMulti(nullptr);
  curl->multiCleanup(multi);
  return good;
}

void Fetch::setMulti(CURLM* multi) {
  std::lock_guard<std::mutex> lock(_mutex);
  _multi = multi;
}

bool Fetch::cancelled() const {
  std::lock_guard<std::mutex> lock(_mutex);
  return _cancelled;
}

void Fetch::setUp(const CurlLibrary& curl, CURL* easy) {
  curl.easySetopt(easy, CURLOPT_URL, _address.c_str());
  curl.easySetopt(easy, CURLOPT_USERAGENT, _userAgent.c_str());
  curl.easySetopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
  curl.easySetopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
  curl.easySetopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
  curl.easySetopt(easy, CURLOPT_MAXREDIRS, 20L);
  curl.easySetopt(easy, CURLOPT_NOSIGNAL, 1L);
  curl.easySetopt(easy, CURLOPT_QUICK_EXIT, 1L);  // nobody waits for a name server
  curl.easySetopt(easy, CURLOPT_FILETIME, 1L);
  curl.easySetopt(easy, CURLOPT_WRITEFUNCTION, receive);
  curl.easySetopt(easy, CURLOPT_WRITEDATA, this);
  curl.easySetopt(easy, CURLOPT_HEADERFUNCTION, receiveHeader);
  curl.easySetopt(easy, CURLOPT_HEADERDATA, this);
}

bool Fetch::transfer(const CurlLibrary& curl, CURL* easy) {
  setUp(curl, easy);
  curl.multiAddHandle(_multi, easy);
  int running = 1;
  CURLMcode code = CURLM_OK;
  while (code == CURLM_OK && !cancelled()) {
    code = curl.multiPerform(_multi, &running);
    if (running == 0) {
      break;
    }
    curl.multiPoll(_multi, nullptr, 0, 1000, nullptr);
  }
  int left = 0;
  const CURLMsg* message = curl.multiInfoRead(_multi, &left);
  const bool good =
      message != nullptr && message->msg == CURLMSG_DONE && message->data.result == CURLE_OK;
  curl.multiRemoveHandle(_multi, easy);
  return good;
}

// Each response of a redirection begins anew.
size_t Fetch::receiveHeader(char* bytes, size_t size, size_t count, void* self) {
  std::string& headers = static_cast<Fetch*>(self)->_headers;
  const std::string line(bytes, size * count);
  if (line.compare(0, 5, "HTTP/") == 0) {
    headers.clear();
  }
  headers += line;
  return size * count;
}

size_t Fetch::receive(char* bytes, size_t size, size_t count, void* self) {
  Fetch* fetch = static_cast<Fetch*>(self);
  fetch->publishHead(fetch->_easy);
  return fetch->store(bytes, size * count) ? size * count : 0;
}

void Fetch::publishHead(CURL* easy) {
  const CurlLibrary& curl = *CurlLibrary::get();
  FetchHead head;
  const char* type = nullptr;
  const char* address = nullptr;
  long redirections = 0;
  curl_off_t length = -1;
  curl_off_t modified = -1;
  curl.easyGetinfo(easy, CURLINFO_CONTENT_TYPE, &type);
  curl.easyGetinfo(easy, CURLINFO_RESPONSE_CODE, &head.status);
  curl.easyGetinfo(easy, CURLINFO_REDIRECT_COUNT, &redirections);
  curl.easyGetinfo(easy, CURLINFO_EFFECTIVE_URL, &address);
  curl.easyGetinfo(easy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
  curl.easyGetinfo(easy, CURLINFO_FILETIME_T, &modified);
  head.address = redirections > 0 && address != nullptr ? address : _address;
  head.type = type != nullptr ? type : typeOfFile(_address);
  head.type = head.type.substr(0, head.type.find(';'));
  head.headers = head.status != 0 ? _headers : std::string();
  head.length = sizeOrUnknown(length);
  head.modified = sizeOrUnknown(modified);
  publish(head);
}

void Fetch::publish(const FetchHead& head) {
  std::lock_guard<std::mutex> lock(_mutex);
  if (!_headKnown) {
    _head = head;
    _headKnown = true;
  }
}

bool Fetch::store(const char* bytes, size_t size) {
  {
    std::unique_lock<std::mutex> lock(_mutex);
    _room.wait(lock, [this] { return _cancelled || _bytes.size() < kMaxUnread; });
    if (_cancelled) {
      return false;
    }
    _bytes.append(bytes, size);
  }
  _changed();
  return true;
}

}  // namespace npapi_host
