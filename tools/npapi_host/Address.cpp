#include "tools/npapi_host/Address.h"

#include <glib.h>

#include <algorithm>
#include <filesystem>
#include <utility>

namespace npapi_host {
namespace {

// Letter, then letters, digits, '+', '-', '.', then a colon.
bool isScheme(const std::string& text) {
  return !text.empty() && g_ascii_isalpha(text[0]) &&
         std::all_of(text.begin(), text.end(), [](char letter) {
           return g_ascii_isalnum(letter) || letter == '+' || letter == '-' || letter == '.';
         });
}

std::string withoutBlanks(const std::string& text) {
  std::string out;
  for (const char letter : text) {
    out += letter == ' ' ? std::string("%20") : std::string(1, letter);
  }
  return out;
}

std::string unescape(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size() && g_ascii_isxdigit(text[i + 1]) &&
        g_ascii_isxdigit(text[i + 2])) {
      out.push_back(static_cast<char>(g_ascii_xdigit_value(text[i + 1]) * 16 +
                                      g_ascii_xdigit_value(text[i + 2])));
      i += 2;
    } else {
      out.push_back(text[i]);
    }
  }
  return out;
}

bool decodeBase64(const std::string& text, std::string* bytes) {
  if (text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/= "
                             "\t\r\n") != std::string::npos) {
    return false;
  }
  gsize length = 0;
  guchar* decoded = g_base64_decode(text.c_str(), &length);
  bytes->assign(reinterpret_cast<char*>(decoded), length);
  g_free(decoded);
  return true;
}

}  // namespace

std::string fileAddress(const std::string& path) {
  const std::string absolute = std::filesystem::absolute(path).lexically_normal();
  char* escaped = g_uri_escape_string(absolute.c_str(), "/:@!$&'()*+,;=", FALSE);
  std::string address = std::string("file://") + escaped;
  g_free(escaped);
  return address;
}

std::string pathOfFileAddress(const std::string& address) {
  std::string path = address.substr(0, address.find_first_of("?#"));
  if (path.compare(0, 5, "file:") != 0) {
    return std::string();
  }
  path.erase(0, 5);
  if (path.compare(0, 2, "//") == 0) {
    const size_t slash = path.find('/', 2);
    const std::string host = path.substr(2, slash == std::string::npos ? slash : slash - 2);
    if (slash == std::string::npos || (!host.empty() && host != "localhost")) {
      return std::string();
    }
    path.erase(0, slash);
  }
  path = unescape(path);
  return path[0] == '/' && path.find('\0') == std::string::npos ? path : std::string();
}

std::string schemeOf(const std::string& address) {
  const size_t colon = address.find(':');
  const std::string scheme = address.substr(0, colon == std::string::npos ? 0 : colon);
  return isScheme(scheme) ? scheme : std::string();
}

std::string resolveAddress(const std::string& text, const std::string& base) {
  std::string scheme = schemeOf(text);
  std::transform(scheme.begin(), scheme.end(), scheme.begin(), g_ascii_tolower);
  if (scheme == "data") {
    return scheme + text.substr(scheme.size());
  }
  const std::string address = withoutBlanks(text);
  if (!scheme.empty()) {
    return scheme + address.substr(scheme.size());
  }
  GError* error = nullptr;
  char* resolved = g_uri_resolve_relative(base.c_str(), address.c_str(),
                                          static_cast<GUriFlags>(G_URI_FLAGS_ENCODED), &error);
  if (resolved == nullptr) {
    g_error_free(error);
    return address;
  }
  std::string absolute = resolved;
  g_free(resolved);
  return absolute;
}

bool decodeDataAddress(const std::string& address, std::string* type, std::string* bytes) {
  const size_t comma = address.find(',');
  if (address.compare(0, 5, "data:") != 0 || comma == std::string::npos) {
    return false;
  }
  std::string head = address.substr(5, comma - 5);
  const std::string payload = unescape(address.substr(comma + 1));
  const std::string marker = ";base64";
  const bool base64 = head.size() >= marker.size() &&
                      head.compare(head.size() - marker.size(), marker.size(), marker) == 0;
  if (base64) {
    head.erase(head.size() - marker.size());
  }
  *type = head.empty() ? "text/plain" : head.substr(0, head.find(';'));
  if (base64) {
    return decodeBase64(payload, bytes);
  }
  *bytes = payload;
  return true;
}

std::string typeOfFile(const std::string& address) {
  static const std::pair<const char*, const char*> kTypes[] = {
      {".png", "image/png"},         {".jpg", "image/jpeg"},    {".jpeg", "image/jpeg"},
      {".gif", "image/gif"},         {".svg", "image/svg+xml"}, {".bmp", "image/bmp"},
      {".json", "application/json"}, {".html", "text/html"},    {".txt", "text/plain"}};
  const std::string ending = std::filesystem::path(address).extension();
  for (const auto& known : kTypes) {
    if (g_ascii_strcasecmp(ending.c_str(), known.first) == 0) {
      return known.second;
    }
  }
  return "application/octet-stream";
}

}  // namespace npapi_host
