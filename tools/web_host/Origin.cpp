#include "tools/web_host/Origin.h"

#include <glib.h>

#include <charconv>
#include <cstdint>
#include <memory>

namespace web_host {
namespace {

const char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789-._";
const size_t kLongestHost = 253;

std::string lowerCase(const std::string& text) {
  const std::unique_ptr<char, decltype(&g_free)> lower(
      g_ascii_strdown(text.data(), static_cast<gssize>(text.size())), g_free);
  return std::string(lower.get(), text.size());
}

std::string quoted(const std::string& text) {
  return "\"" + text.substr(0, 300) + "\"";
}

// Digits and dots, or in brackets as IPv6 addresses are, or a name.
std::string normalHost(const std::string& text, const std::string& whole) {
  if (text.size() > 2 && text.front() == '[' && text.back() == ']') {
    if (text.find_first_not_of("0123456789abcdef:.", 1) != text.size() - 1) {
      throw OriginError(quoted(whole) + " has a host in brackets that is no IPv6 address");
    }
    return text;
  }
  std::string host = text;
  if (host.find('\0') == std::string::npos && g_hostname_is_non_ascii(host.c_str())) {
    const std::unique_ptr<char, decltype(&g_free)> ascii(
        g_utf8_validate(host.data(), -1, nullptr) ? g_hostname_to_ascii(host.c_str()) : nullptr,
        g_free);
    host = ascii != nullptr ? lowerCase(ascii.get()) : host;
  }
  if (host.empty() || host.size() > kLongestHost ||
      host.find_first_not_of(kLetters) != std::string::npos) {
    throw OriginError(quoted(whole) + " has no host that could be one");
  }
  return host;
}

// ":port", or nothing for the scheme's own.
std::string normalPort(const std::string& digits, const std::string& scheme,
                       const std::string& whole) {
  uint16_t port = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, port);
  if (error != std::errc() || stop != end) {
    throw OriginError(quoted(whole) + " has a port that is no number from 0 to 65535");
  }
  const bool own = port == (scheme == "https" ? 443 : 80);
  return own ? std::string() : ":" + std::to_string(port);
}

}  // namespace

std::string normalOrigin(const std::string& text) {
  const std::string whole = lowerCase(text);
  if (whole == "null") {
    throw OriginError("\"null\" stands for pages without an origin, which are never allowed");
  }
  if (whole == "file://" || whole == "file:///") {
    return "file://";
  }
  const size_t separator = whole.find("://");
  const std::string scheme = whole.substr(0, separator);
  if (separator == std::string::npos || (scheme != "http" && scheme != "https")) {
    throw OriginError(quoted(text) +
                      " is no origin; origins look like https://host, http://host:port or file://");
  }
  std::string authority = whole.substr(separator + 3);
  if (!authority.empty() && authority.back() == '/') {
    authority.pop_back();
  }
  if (authority.find_first_of("/?#@\\") != std::string::npos) {
    throw OriginError(quoted(text) + " is more than an origin; leave scheme, host and port only");
  }
  const size_t colon =
      authority.find(':', authority.rfind(']') == std::string::npos ? 0 : authority.rfind(']'));
  const std::string host = normalHost(authority.substr(0, colon), text);
  return scheme + "://" + host +
         (colon == std::string::npos ? "" : normalPort(authority.substr(colon + 1), scheme, text));
}

}  // namespace web_host
