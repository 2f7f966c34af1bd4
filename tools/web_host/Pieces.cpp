#include "tools/web_host/Pieces.h"

#include "tools/json/JsonWriter.h"

namespace web_host {
namespace {

// What stands around a piece's text.
const size_t kAround = 200;

size_t escapedSize(char byte) {
  if (byte == '"' || byte == '\\') {
    return 2;
  }
  return static_cast<unsigned char>(byte) < 0x20 ? 6 : 1;
}

bool beginsCharacter(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
}

// Where the piece from `start` on ends.
size_t endOfPiece(const std::string& message, size_t start) {
  size_t room = kLargestMessage - kAround;
  size_t end = start;
  while (end < message.size() && escapedSize(message[end]) <= room) {
    room -= escapedSize(message[end++]);
  }
  while (end < message.size() && !beginsCharacter(message[end])) {
    --end;
  }
  return end;
}

}  // namespace

std::vector<std::string> piecesOf(const std::string& message, uint64_t id) {
  if (message.size() <= kLargestMessage) {
    return {message};
  }
  std::vector<std::string> texts;
  for (size_t start = 0; start < message.size();) {
    const size_t end = endOfPiece(message, start);
    texts.push_back(message.substr(start, end - start));
    start = end;
  }
  std::vector<std::string> pieces;
  for (size_t i = 0; i < texts.size(); ++i) {
    json::JsonWriter json;
    json.openObject().key("piece").value(static_cast<int64_t>(i));
    json.key("of").value(static_cast<int64_t>(texts.size()));
    json.key("id").value(static_cast<int64_t>(id)).key("text").value(texts[i]);
    pieces.push_back(json.closeObject().text());
  }
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
