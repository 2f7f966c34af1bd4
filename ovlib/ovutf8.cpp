#include "ovlib/ovutf8.h"

#include "ovlib/overrno.h"

namespace {

bool isContinuation(unsigned char byte) {
  return (byte & 0xC0) == 0x80;
}

size_t sequenceLength(unsigned char lead) {
  return lead >= 0xFC ? 6 : lead >= 0xF8 ? 5 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
}

}  // namespace

int ov_utf8_trim_trailing_partial(char* text, size_t* length) {
  if (text == nullptr || length == nullptr) {
    return OV_EINVAL;
  }
  const unsigned char* bytes = reinterpret_cast<const unsigned char*>(text);
  const size_t end = *length;
  if (end == 0 || bytes[end - 1] < 0x80) {
    return OV_OK;
  }
  size_t lead = end - 1;
  while (lead > 0 && isContinuation(bytes[lead])) {
    --lead;
  }
  if (bytes[lead] < 0xC0) {
    return OV_EINVAL;
  }
  if (end - lead < sequenceLength(bytes[lead])) {
    text[lead] = '\0';
    *length = lead;
  }
  return OV_OK;
}
