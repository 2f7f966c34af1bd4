#ifndef TOOLS_NPAPI_HOST_TEXT_H_
#define TOOLS_NPAPI_HOST_TEXT_H_

#include <cstddef>
#include <cstdint>
#include <string>

namespace npapi_host {

using Utf16 = std::basic_string<uint16_t>;

// NUL bytes are kept. What is not well-formed (a lone surrogate, a broken UTF-8 sequence) becomes
// U+FFFD.
std::string utf8FromUtf16(const uint16_t* text, size_t length);
Utf16 utf16FromUtf8(const char* bytes, size_t length);

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_TEXT_H_
