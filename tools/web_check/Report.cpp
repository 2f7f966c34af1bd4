#include "tools/web_check/Report.h"

#include <glib.h>

#include <algorithm>
#include <cstdio>

namespace web_check {

namespace {

const char* name(Status status) {
  static const char* const kNames[] = {"ok", "warning", "failed"};
  return kNames[static_cast<int>(status)];
}

// Bytes that are no UTF-8, and characters that a terminal would obey, become "\xNN".
std::string printable(const std::string& text) {
  std::string result;
  for (const char *at = text.data(), *end = at + text.size(); at < end;) {
    const gunichar c = g_utf8_get_char_validated(at, end - at);
    const bool valid = c != static_cast<gunichar>(-1) && c != static_cast<gunichar>(-2);
    const char* const next = valid && c != 0 ? g_utf8_next_char(at) : at + 1;
    if (valid && g_unichar_isprint(c)) {
      result.append(at, next);
    } else {
      for (; at < next; ++at) {
        char escaped[5];
        snprintf(escaped, sizeof(escaped), "\\x%02x", static_cast<unsigned char>(*at));
        result += escaped;
      }
    }
    at = next;
  }
  return result;
}

// As a JSON string; the text is printable.
std::string jsonString(const std::string& text) {
  std::string result = "\"";
  for (const char c : text) {
    result += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
  }
  return result + "\"";
}

std::string padded(std::string text, size_t width) {
  text.resize(std::max(text.size(), width - 1), ' ');
  return text + " ";
}

}  // namespace

void Report::add(const std::string& check, const Finding& finding) {
  _lines.push_back({check, finding.status, printable(finding.seen), printable(finding.remedy)});
}

const Report::Line* Report::broken() const {
  const auto worst = std::max_element(
      _lines.begin(), _lines.end(),
      [](const Line& left, const Line& right) { return left.status < right.status; });
  return worst != _lines.end() && worst->status != Status::kOk ? &*worst : nullptr;
}

Status Report::status() const {
  const Line* const line = broken();
  return line != nullptr ? line->status : Status::kOk;
}

std::string Report::text() const {
  std::string text;
  for (const Line& line : _lines) {
    text += padded(name(line.status), 8) + padded(line.check, 14) + line.seen;
    text += line.remedy.empty() ? "\n" : "; to do: " + line.remedy + "\n";
  }
  const Line* const line = broken();
  return text + (line == nullptr                    ? "All is well.\n"
                 : line->status == Status::kWarning ? "Look first at: " + line->check + "\n"
                                                    : "The broken link: " + line->check + "\n");
}

std::string Report::json() const {
  const Line* const first = broken();
  std::string json =
      "{\"version\":" + jsonString(ORVANE_VERSION) + ",\"status\":" + jsonString(name(status())) +
      ",\"broken\":" + (first != nullptr ? jsonString(first->check) : "null") + ",\"checks\":[";
  const char* separator = "\n";
  for (const Line& line : _lines) {
    json += separator;
    json += "{\"name\":" + jsonString(line.check) + ",\"status\":" + jsonString(name(line.status)) +
            ",\"seen\":" + jsonString(line.seen) + ",\"remedy\":" + jsonString(line.remedy) + "}";
    separator = ",\n";
  }
  return json + "\n]}\n";
}

}  // namespace web_check
