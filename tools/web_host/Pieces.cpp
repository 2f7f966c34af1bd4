#include "tools/web_host/Pieces.h"

namespace web_host {
namespace {

// What stands around a piece's text.
const size_t kAround = 200;

// Shorter strings stay where they are: no message has so many of them that it would be large.
const size_t kShortest = 1000;

// Where the string ends whose text begins at `start`, or what of it fits into `room`: between
// characters, and not inside an escape.
size_t endOfText(const std::string& json, size_t start, size_t room) {
  size_t end = start;
  while (end < json.size() && json[end] != '"') {
    size_t next = end + (json[end] != '\\' ? 1 : json[end + 1] == 'u' ? 6 : 2);
    while (next < json.size() && (static_cast<unsigned char>(json[next]) & 0xC0) == 0x80) {
      ++next;
    }
    if (next - start > room) {
      return end;
    }
    end = next;
  }
  return end;
}

}  // namespace

std::vector<std::string> piecesOf(const std::string& message, uint64_t* lastId) {
  if (message.size() <= kLargestMessage) {
    return {message};
  }
  std::vector<std::string> pieces;
  std::string whole = R"({"whole":)";
  size_t start = 0;
  for (size_t quote; (quote = message.find('"', start)) != std::string::npos;) {
    const size_t text = quote + 1;
    const size_t end = endOfText(message, text, message.size());
    if (end - text < kShortest) {
      whole.append(message, start, end + 1 - start);
    } else {
      const std::string id = std::to_string(++*lastId);
      whole.append(message, start, quote - start).append(R"({"v":"pieces","id":)" + id + "}");
      for (size_t from = text, to; from < end; from = to) {
        to = endOfText(message, from, kLargestMessage - kAround);
        pieces.push_back(R"({"piece":)" + id + R"(,"text":")" + message.substr(from, to - from) +
                         "\"}");
      }
    }
    start = end + 1;
  }
  pieces.push_back(whole.append(message, start) + "}");
  return pieces;
}

std::string togetherOf(const std::vector<std::string>& messages) {
  std::string text = "{\"together\":[";
  for (const std::string& message : messages) {
    text += (&message == &messages.front() ? "" : ",") + message;
  }
  return text + "]}";
}

}  // namespace web_host
