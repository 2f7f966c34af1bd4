// PathEscaper, XmlEscaper and the error document: what they write reads back as what went in.
#include "fuzz/FuzzInput.h"
#include "plugin/src/Json.h"
#include "plugin/src/PathEscaper.h"
#include "plugin/src/Utils.h"
#include "plugin/src/XmlEscaper.h"

using namespace Pellion::Web;

namespace {

std::vector<std::string> splitAtColons(const std::string& joined) {
  std::vector<std::string> paths(1);
  for (size_t i = 0; i < joined.size(); ++i) {
    if (joined[i] == ':') {
      paths.emplace_back();
    } else {
      i += joined[i] == '\\' ? 1 : 0;
      FUZZ_CHECK(i < joined.size());
      paths.back() += joined[i];
    }
  }
  return paths;
}

// JSON stands for these texts although only backslashes are escaped; what is beyond ASCII may be no
// UTF-8.
bool isPlain(const std::string& text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c != '"'; });
}

void checkPaths(const std::vector<std::string>& paths) {
  FUZZ_CHECK(paths.empty() || splitAtColons(PathEscaper::toColonSeparatedStr(paths)) == paths);
  const std::string list = PathEscaper::toJsonStr(paths);
  if (!std::all_of(paths.begin(), paths.end(), isPlain)) {
    return;
  }
  Json json;
  FUZZ_CHECK(json.parse(list) && YAJL_GET_ARRAY(json.getNode())->len == paths.size());
  for (size_t i = 0; i < paths.size(); ++i) {
    FUZZ_CHECK(YAJL_GET_STRING(YAJL_GET_ARRAY(json.getNode())->values[i]) == paths[i]);
  }
}

std::string fromXml(const std::string& escaped) {
  std::string text;
  for (size_t i = 0; i < escaped.size(); ++i) {
    FUZZ_CHECK(escaped[i] != '<' && escaped[i] != '>');
    if (escaped[i] != '&') {
      text += escaped[i];
      continue;
    }
    const size_t end = escaped.find(';', i);
    const std::string entity = escaped.substr(i, end - i);
    FUZZ_CHECK(entity == "&amp" || entity == "&lt" || entity == "&gt");
    text += entity == "&amp" ? '&' : entity == "&lt" ? '<' : '>';
    i = end;
  }
  return text;
}

void checkErrorDocument(const std::string& text) {
  if (isPlain(text) && !contains(text, "\\")) {
    Json json;
    const char* const path[] = {"error", "user_message", nullptr};
    FUZZ_CHECK(json.parse(Json::createError(text)) && json.containsError());
    FUZZ_CHECK(json.getString(path) == text);
    FUZZ_CHECK(Utils::toJsonStr({text}) == PathEscaper::toJsonStr(std::vector{text}));
  }
}

void checkReplace(const std::string& text, const std::string& from, const std::string& to) {
  const std::string replaced = PathEscaper::strReplace(text, from, to);
  if (from.empty()) {
    FUZZ_CHECK(replaced == text);
    return;
  }
  size_t count = 0;
  for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += from.size()) {
    ++count;
  }
  FUZZ_CHECK(replaced.size() == text.size() - count * from.size() + count * to.size());
  FUZZ_CHECK(PathEscaper::strReplace(text, from, from) == text);
  if (!contains(text, "\x01")) {
    const std::string marked = PathEscaper::strReplace(text, from, "\x01");
    FUZZ_CHECK(PathEscaper::strReplace(marked, "\x01", from) == text);
    FUZZ_CHECK(PathEscaper::strReplace(marked, "\x01", to) == replaced);
  }
}

}  // namespace

void tryInput(FuzzInput input) {
  const std::string& text = input.whole();
  FUZZ_CHECK(fromXml(XmlEscaper::escape(text)) == text);
  const std::string url = PathEscaper::toFileUrl(text);
  FUZZ_CHECK(url.size() == text.size() + 7 && !contains(url, "\\") && startsWith(url, "file://"));
  checkErrorDocument(text);
  FuzzInput parts = input;
  checkPaths(parts.texts(16));
  const std::string from = input.text();
  const std::string to = input.text();
  checkReplace(input.remainder(), from, to);
}
