#include "tools/npapi_host/Text.h"

#include <algorithm>

namespace npapi_host {
namespace {

constexpr uint32_t kReplacement = 0xFFFD;

bool isHighSurrogate(uint32_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}

bool isLowSurrogate(uint32_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

void appendUtf8(uint32_t point, std::string* out) {
  const auto tail = [out, point](int shift) {
    out->push_back(static_cast<char>(0x80 | ((point >> shift) & 0x3F)));
  };
  if (point < 0x80) {
    out->push_back(static_cast<char>(point));
  } else if (point < 0x800) {
    out->push_back(static_cast<char>(0xC0 | (point >> 6)));
    tail(0);
  } else if (point < 0x10000) {
    out->push_back(static_cast<char>(0xE0 | (point >> 12)));
    tail(6);
    tail(0);
  } else {
    out->push_back(static_cast<char>(0xF0 | (point >> 18)));
    tail(12);
    tail(6);
    tail(0);
  }
}

// Reads one character at `*position` and moves behind it; a broken sequence yields U+FFFD and moves
// behind its first byte.
uint32_t nextPoint(const unsigned char* bytes, size_t length, size_t* position) {
  const unsigned char lead = bytes[(*position)++];
  if (lead < 0x80) {
    return lead;
  }
  const int extra = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
  constexpr uint32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
  if (lead < 0xC2 || lead > 0xF4 || length - *position < static_cast<size_t>(extra)) {
    return kReplacement;
  }
  uint32_t point = lead & (0x3F >> extra);
  for (int i = 0; i < extra; ++i) {
    const unsigned char next = bytes[*position + i];
    if ((next & 0xC0) != 0x80) {
      return kReplacement;
    }
    point = (point << 6) | (next & 0x3F);
  }
  if (point < kSmallest[extra] || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) {
    return kReplacement;
  }
  *position += extra;
  return point;
}

}  // namespace

std::string utf8FromUtf16(const uint16_t* text, size_t length) {
  std::string out;
  out.reserve(length);
  for (size_t i = 0; i < length; ++i) {
    uint32_t point = text[i];
    if (isHighSurrogate(point) && i + 1 < length && isLowSurrogate(text[i + 1])) {
      point = 0x10000 + ((point - 0xD800) << 10) + (text[++i] - 0xDC00U);
    } else if (isHighSurrogate(point) || isLowSurrogate(point)) {
      point = kReplacement;
    }
    appendUtf8(point, &out);
  }
  return out;
}

Utf16 utf16FromUtf8(const char* bytes, size_t length) {
  Utf16 out;
  out.reserve(length);
  for (size_t position = 0; position < length;) {
    const uint32_t point =
        nextPoint(reinterpret_cast<const unsigned char*>(bytes), length, &position);
    if (point < 0x10000) {
      out.push_back(static_cast<uint16_t>(point));
    } else {
      out.push_back(static_cast<uint16_t>(0xD800 + ((point - 0x10000) >> 10)));
      out.push_back(static_cast<uint16_t>(0xDC00 + ((point - 0x10000) & 0x3FF)));
    }
  }
  return out;
}

std::vector<std::string> colonSeparated(std::string_view list) {
  std::vector<std::string> entries;
  while (!list.empty()) {
    const std::string_view entry = list.substr(0, list.find(':'));
    if (!entry.empty()) {
      entries.emplace_back(entry);
    }
    list.remove_prefix(std::min(entry.size() + 1, list.size()));
  }
  return entries;
}

}  // namespace npapi_host
