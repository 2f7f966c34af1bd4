#ifndef TOOLS_NPAPI_HOST_TEXT_H_
#define TOOLS_NPAPI_HOST_TEXT_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace npapi_host {

using Utf16 = std::basic_string<uint16_t>;

// NUL bytes are kept. What is not well-formed (a lone surrogate, a broken UTF-8 sequence) becomes
// U+FFFD.
std::string utf8FromUtf16(const uint16_t* text, size_t length);
Utf16 utf16FromUtf8(const char* bytes, size_t length);

// What stands between the colons of a list, as of directories; nothing for an empty place.
std::vector<std::string> colonSeparated(std::string_view list);

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_TEXT_H_
