#include "tools/pellion_simulator/Location.h"

#include <curl/curl.h>
#include <glib.h>

#include <algorithm>
#include <memory>
#include <sstream>
#include <stdexcept>

#include "tools/pellion_simulator/FileIo.h"

namespace pellion_simulator {

namespace {

const std::string kFileScheme = "file://";
const std::string kLocalHost = "localhost/";

struct CurlUrlCleanup {
  void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
struct GFree {
  void operator()(void* memory) const { g_free(memory); }
};

bool startsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

std::string schemeOf(const std::string& text) {
  std::string scheme = text.substr(0, text.find("://"));
  std::transform(scheme.begin(), scheme.end(), scheme.begin(), g_ascii_tolower);
  return scheme;
}

// The address with blanks and bytes above 127 encoded.
std::string encodeAddress(const std::string& text) {
  const std::unique_ptr<CURLU, CurlUrlCleanup> url(curl_url());
  char* encoded = nullptr;
  CURLUcode code = curl_url_set(url.get(), CURLUPART_URL, text.c_str(), CURLU_URLENCODE);
  if (code == CURLUE_OK) {
    code = curl_url_get(url.get(), CURLUPART_URL, &encoded, 0);
  }
  if (code != CURLUE_OK) {
    throw std::runtime_error("not a valid address: " + text + " (" + curl_url_strerror(code) + ")");
  }
  std::string result = encoded;
  curl_free(encoded);
  return result;
}

std::string fitForFileName(std::string name) {
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return c < ' ' || c == 0x7f || c == '/'; },
      '_');
  return name.empty() || name == "." || name == ".." ? "download" : name;
}

}  // namespace

Location Location::parse(const std::string& text) {
  if (text.find('\0') != std::string::npos) {
    throw std::runtime_error("a name holds a zero byte");
  }
  if (looksLocal(text)) {
    std::string path = startsWith(text, kFileScheme) ? text.substr(kFileScheme.size()) : text;
    if (startsWith(path, kLocalHost)) {
      path.erase(0, kLocalHost.size() - 1);
    }
    if (path.empty() || path[0] != '/') {
      throw std::runtime_error("a file URL needs an absolute path of this machine: " + text);
    }
    return Location(true, path);
  }
  if (text.find("://") == std::string::npos) {
    throw std::runtime_error("neither an absolute path nor an address: " + text);
  }
  const std::string scheme = schemeOf(text);
  if (scheme != "http" && scheme != "https" && scheme != "ftp" && scheme != "ftps") {
    throw std::runtime_error("addresses of the kind " + scheme + ":// are not supported: " + text);
  }
  return Location(false, encodeAddress(text));
}

bool Location::looksLocal(const std::string& text) {
  return text[0] == '/' || startsWith(text, kFileScheme);
}

bool Location::isHttp() const {
  return !_local && startsWith(schemeOf(_text), "http");
}

size_t Location::endOfPath() const {
  return _local ? _text.size() : std::min(_text.find_first_of("?#"), _text.size());
}

bool Location::namesDirectory() const {
  return pellion_simulator::namesDirectory(_text.substr(0, endOfPath()));
}

std::string Location::fileName() const {
  std::string path = _text.substr(0, endOfPath());
  if (!_local) {
    path.erase(0, std::min(path.find('/', path.find("://") + 3), path.size()));
  }
  path.erase(path.find_last_not_of('/') + 1);
  std::string name = path.substr(path.rfind('/') + 1);
  if (!_local) {
    const std::unique_ptr<char, GFree> decoded(g_uri_unescape_string(name.c_str(), nullptr));
    name = decoded ? decoded.get() : name;
  }
  return fitForFileName(name);
}

Location Location::below(const std::string& name) const {
  if (_local) {
    return Location(true, joinPath(_text, name));
  }
  const size_t end = endOfPath();
  return Location(false,
                  joinPath(_text.substr(0, end), percentEncodePath(name)) + _text.substr(end));
}

std::string percentEncodePath(const std::string& path) {
  const std::unique_ptr<char, GFree> encoded(g_uri_escape_string(path.c_str(), "/", FALSE));
  return encoded.get();
}

bool namesDirectory(const std::string& path) {
  const std::string last = path.substr(path.rfind('/') + 1);
  return last.empty() || last == "." || last == "..";
}

bool climbsOut(const std::string& relativePath) {
  std::istringstream parts(relativePath);
  for (std::string part; std::getline(parts, part, '/');) {
    if (part == "..") {
      return true;
    }
  }
  return false;
}

}  // namespace pellion_simulator
