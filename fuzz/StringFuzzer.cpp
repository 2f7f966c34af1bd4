// The bounded strings of the portability library, in buffers of exactly their size.
#include <climits>
#include <cstring>

#include "fuzz/BoundedOutput.h"
#include "ovlib/overrno.h"
#include "ovlib/ovplatform.h"
#include "ovlib/ovprocess.h"
#include "ovlib/ovstring.h"
#include "ovlib/ovutf8.h"

namespace {

void checkCopy(const std::string& source, size_t size) {
  const BoundedOutput copy(size,
                           [&](char* buffer) { return ov_str_ncpy(buffer, source.c_str(), size); });
  const bool fits = source.size() < size;
  FUZZ_CHECK(copy.result == (size == 0 ? OV_EINVAL : fits ? OV_OK : OV_EBUFFER));
  FUZZ_CHECK(fits ? copy.text == source : startsWith(source, copy.text));
  // A cut takes no more than one incomplete character with it.
  FUZZ_CHECK(fits || copy.text.size() + 6 >= size);
  FUZZ_CHECK(size == 0 || copy.text.size() < size);
}

void checkAppend(const std::string& first, const std::string& second, size_t size) {
  if (first.size() >= size) {
    return;
  }
  const BoundedOutput joined(size, [&](char* buffer) {
    ov_str_ncpy(buffer, first.c_str(), size);
    return ov_str_ncat(buffer, second.c_str(), size);
  });
  size_t length = first.size();
  const BoundedOutput counted(size, [&](char* buffer) {
    ov_str_ncpy(buffer, first.c_str(), size);
    return ov_str_to(buffer, second.c_str(), size, &length);
  });
  FUZZ_CHECK(joined.result == counted.result && joined.text == counted.text);
  FUZZ_CHECK(length == joined.text.size());
  FUZZ_CHECK(joined.result == (first.size() + second.size() < size ? OV_OK : OV_EBUFFER));
  FUZZ_CHECK(startsWith(first + second, joined.text));
}

void checkTrim(const std::string& text) {
  std::string trimmed = text;
  size_t length = text.size();
  const int result = ov_utf8_trim_trailing_partial(trimmed.data(), &length);
  FUZZ_CHECK(length <= text.size() && text.size() - length < 6);
  FUZZ_CHECK(result == OV_OK || length == text.size());
  trimmed.resize(length);
  FUZZ_CHECK(startsWith(text, trimmed));
  size_t again = length;
  ov_utf8_trim_trailing_partial(trimmed.data(), &again);
  FUZZ_CHECK(length == text.size() ? again == length : length - again < 6);
}

void checkNumbers(const std::string& text, size_t size) {
  long long number = 0;
  std::memcpy(&number, text.data(), std::min(text.size(), sizeof(number)));
  const std::string digits = std::to_string(number);
  const BoundedOutput written(
      size, [&](char* buffer) { return size > 0 && ov_str_itoa(number, buffer, size) == buffer; });
  FUZZ_CHECK(written.result == (digits.size() < size));
  FUZZ_CHECK(written.result == 0 || written.text == digits);
  const long long wide = std::strtoll(text.c_str(), nullptr, 10);
  FUZZ_CHECK(ov_str_atoi(text.c_str()) == std::clamp<long long>(wide, INT_MIN, INT_MAX));
}

void checkErrorText(int code, size_t size) {
  const BoundedOutput told(size,
                           [&](char* buffer) { return ov_platform_errstr(code, buffer, size); });
  FUZZ_CHECK(size > 0 ? told.text.size() < size : told.result == OV_EINVAL);
  FUZZ_CHECK(told.result != OV_EBUFFER || told.text.size() + 6 >= size);
}

}  // namespace

void tryInput(FuzzInput input) {
  const size_t size = input.word() % 300;
  const int code = input.word() + input.flag() * 28000 - input.flag() * 40000;
  const std::string first = upToZero(input.text());
  const std::string second = upToZero(input.remainder());
  checkCopy(first, size);
  checkAppend(first, second, size);
  checkTrim(first);
  checkNumbers(first, size % 24);
  checkErrorText(code, size);
  setVariable("ORVANE_FUZZ", first);
  const BoundedOutput found(
      size, [&](char* buffer) { return ov_process_getenv("ORVANE_FUZZ", buffer, size); });
  FUZZ_CHECK(found.result != OV_OK || found.text == first);
}
