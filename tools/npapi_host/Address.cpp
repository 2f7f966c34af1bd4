#include "tools/npapi_host/Address.h"

#include <glib.h>

#include <cctype>
#include <filesystem>
#include <utility>

namespace npapi_host {
namespace {

// Letter, then letters, digits, '+', '-', '.', then a colon.
bool hasScheme(const std::string& address) {
  const size_t colon = address.find(':');
  if (colon == std::string::npos || colon == 0 || std::isalpha(address[0]) == 0) {
    return false;
  }
  for (size_t i = 0; i < colon; ++i) {
    const auto letter = static_cast<unsigned char>(address[i]);
    if (std::isalnum(letter) == 0 && letter != '+' && letter != '-' && letter != '.') {
      return false;
    }
  }
  return true;
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

std::string resolveAddress(const std::string& text, const std::string& base) {
  if (text.compare(0, 5, "data:") == 0) {
    return text;
  }
  const std::string address = withoutBlanks(text);
  if (hasScheme(address)) {
    return address;
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
