#include "ovlib/ovstring.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ovlib/overrno.h"
#include "ovlib/ovlog.h"
#include "ovlib/ovutf8.h"

namespace {

int refuse(char* destination, const char* source, size_t size, size_t used) {
  ov_err("Warning: ov_str_to failure, args %p %p %lu %lu '%s'", static_cast<void*>(destination),
         static_cast<const void*>(source), size, used, source != nullptr ? source : "(null)");
  if (destination != nullptr && size > 0) {
    *destination = '\0';
  }
  return OV_EINVAL;
}

}  // namespace

int ov_str_to(char* destination, const char* source, size_t size, size_t* length) {
  size_t used = length != nullptr ? *length : 0;
  if (destination == nullptr || source == nullptr || used >= size) {
    return refuse(destination, source, size, used);
  }
  const size_t room = size - used - 1;
  const size_t copied = strnlen(source, room);
  const bool whole = source[copied] == '\0';
  memcpy(destination + used, source, copied);
  used += copied;
  destination[used] = '\0';
  if (!whole) {
    ov_utf8_trim_trailing_partial(destination, &used);
  }
  if (length != nullptr) {
    *length = used;
  }
  return whole ? OV_OK : OV_EBUFFER;
}

int ov_str_ncpy(char* destination, const char* source, size_t size) {
  return ov_str_to(destination, source, size);
}

int ov_str_ncat(char* destination, const char* source, size_t size) {
  if (destination == nullptr || source == nullptr) {
    return OV_EINVAL;
  }
  if (*source == '\0') {
    return OV_OK;
  }
  size_t length = strnlen(destination, size);
  return length >= size ? static_cast<int>(OV_EBUFFER)
                        : ov_str_to(destination, source, size, &length);
}

int ov_str_atoi(const char* text) {
  if (text == nullptr) {
    return 0;
  }
  const long value = strtol(text, nullptr, 10);
  return value > INT_MAX ? INT_MAX : value < INT_MIN ? INT_MIN : static_cast<int>(value);
}

char* ov_str_itoa(long long value, char* buffer, size_t size) {
  if (buffer == nullptr) {
    return nullptr;
  }
  const int length = snprintf(buffer, size, "%lld", value);
  return static_cast<size_t>(length) < size ? buffer : nullptr;
}
