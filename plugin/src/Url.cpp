#include "plugin/src/Url.h"

#include <cstdlib>

#include "ovlib/ovlog.h"

namespace Pellion::Web {

namespace {

constexpr std::string_view kSchemeEnd = "://";

// What the next piece of the text may end with tells what has been read so far.
constexpr std::string_view kAtStart = "@:/";
constexpr std::string_view kAfterUser = ":/";
constexpr std::string_view kAfterHost = "/";
constexpr std::string_view kAfterSlash = "?";

// Deliberate: a number above 65535 is cut to its low 16 bits, and a text without digits is 0.
unsigned short toPort(std::string_view text) {
  return static_cast<unsigned short>(std::strtol(std::string(text).c_str(), nullptr, 10));
}

}  // namespace

Url::Url(const std::string& text) {
  parse(text);
}

void Url::parse(const std::string& text) {
  clear();
  const size_t schemeEnd = text.find(kSchemeEnd);
  if (schemeEnd == std::string::npos) {
    ov_err("Invalid URL: %s", text.c_str());
    return;
  }
  _url = text;
  _scheme = text.substr(0, schemeEnd);
  scan(std::string_view(_url).substr(schemeEnd + kSchemeEnd.size()));
}

void Url::clear() {
  for (std::string* field : {&_host, &_password, &_path, &_query, &_scheme, &_url, &_user}) {
    field->clear();
  }
  _port = 0;
}

void Url::scan(std::string_view rest) {
  const size_t userEnd = rest.find('@');
  std::string_view delimiters = kAtStart;
  size_t start = 0;
  for (size_t found; (found = rest.find_first_of(delimiters, start)) != 0; start = found + 1) {
    const std::string_view piece = rest.substr(start, found - start);
    if (found == std::string_view::npos) {
      finish(rest, piece, delimiters);
      return;
    }
    switch (rest[found]) {
      case ':':
        if (userEnd == std::string_view::npos || userEnd < found) {
          _host = piece;
          delimiters = kAfterHost;
        } else {
          _user = piece;
        }
        break;
      case '@':
        (_user.empty() ? _user : _password) = piece;
        delimiters = kAfterUser;
        break;
      case '/':
        if (delimiters == kAfterHost) {
          _port = toPort(piece);
        } else {
          _host = delimiters == kAfterUser ? piece : rest.substr(0, found);
        }
        delimiters = kAfterSlash;
        break;
      default:
        _path = piece;
        _query = rest.substr(found + 1);
        return;
    }
  }
}

// Deliberate: without a slash the host takes in everything up to the end, user, '@' and '?'
// included.
void Url::finish(std::string_view rest, std::string_view last, std::string_view delimiters) {
  if (_host.empty()) {
    _host = rest;
  }
  if (delimiters == kAfterHost) {
    _port = toPort(last);
  } else if (delimiters == kAfterSlash) {
    _path = last;
  }
}

}  // namespace Pellion::Web
