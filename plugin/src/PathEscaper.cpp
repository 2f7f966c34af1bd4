#include "plugin/src/PathEscaper.h"

#include <algorithm>
#include <string_view>

namespace Pellion::Web {

namespace {

// A backslash before each of the `special` characters.
std::string escape(const std::string& path, std::string_view special) {
  std::string escaped;
  escaped.reserve(path.size());
  for (const char c : path) {
    if (special.find(c) != std::string_view::npos) {
      escaped += '\\';
    }
    escaped += c;
  }
  return escaped;
}

}  // namespace

std::string PathEscaper::toColonSeparatedStr(const std::vector<std::string>& paths) {
  std::string joined;
  const char* separator = "";
  for (const std::string& path : paths) {
    joined.append(separator).append(escape(path, "\\:"));
    separator = ":";
  }
  return joined;
}

std::string PathEscaper::toJsonStr(const std::vector<std::string>& paths) {
  std::string json = "[";
  const char* separator = "";
  for (const std::string& path : paths) {
    json.append(separator).append(toJsonStr(path, true));
    separator = ",";
  }
  return json + "]";
}

// Deliberate: quotes and control characters of a path stay as they are and make the JSON malformed.
std::string PathEscaper::toJsonStr(const std::string& path, bool quote) {
  const char* const mark = quote ? "\"" : "";
  return mark + escape(path, "\\") + mark;
}

std::string PathEscaper::strReplace(const std::string& text, const std::string& from,
                                    const std::string& to) {
  if (from.empty() || text.empty()) {
    return text;
  }
  std::string replaced;
  size_t start = 0;
  for (size_t found; (found = text.find(from, start)) != std::string::npos;
       start = found + from.size()) {
    replaced.append(text, start, found - start).append(to);
  }
  return replaced.append(text, start);
}

// Deliberate: blanks and other characters are not percent-encoded.
std::string PathEscaper::toFileUrl(const std::string& path) {
  std::string url = "file://" + path;
  std::replace(url.begin(), url.end(), '\\', '/');
  return url;
}

}  // namespace Pellion::Web
