#include "tools/json/JsonWriter.h"

#include <glib.h>

#include <charconv>
#include <memory>
#include <stdexcept>

namespace json {

namespace {

void check(yajl_gen_status status) {
  if (status != yajl_gen_status_ok) {
    throw std::logic_error("JSON written out of order");
  }
}

std::string validUtf8(const char* text, size_t length) {
  const std::unique_ptr<char, decltype(&g_free)> valid(
      g_utf8_make_valid(text, static_cast<gssize>(length)), g_free);
  return valid.get();
}

// GLib takes a zero for an error.
std::string validUtf8(const std::string& text) {
  if (g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr)) {
    return text;
  }
  std::string valid;
  size_t start = 0;
  for (size_t zero; (zero = text.find('\0', start)) != std::string::npos; start = zero + 1) {
    valid += validUtf8(text.data() + start, zero - start) + '\0';
  }
  return valid + validUtf8(text.data() + start, text.size() - start);
}

}  // namespace

JsonWriter::JsonWriter() : _generator(yajl_gen_alloc(nullptr)) {}

JsonWriter::~JsonWriter() {
  yajl_gen_free(_generator);
}

JsonWriter& JsonWriter::openObject() {
  check(yajl_gen_map_open(_generator));
  return *this;
}

JsonWriter& JsonWriter::closeObject() {
  check(yajl_gen_map_close(_generator));
  return *this;
}

JsonWriter& JsonWriter::openArray() {
  check(yajl_gen_array_open(_generator));
  return *this;
}

JsonWriter& JsonWriter::closeArray() {
  check(yajl_gen_array_close(_generator));
  return *this;
}

JsonWriter& JsonWriter::value(const std::string& text) {
  const std::string valid = validUtf8(text);
  check(yajl_gen_string(_generator, reinterpret_cast<const unsigned char*>(valid.data()),
                        valid.size()));
  return *this;
}

JsonWriter& JsonWriter::value(int64_t number) {
  check(yajl_gen_integer(_generator, number));
  return *this;
}

// In the fewest digits that are read as the same number, whatever the locale.
JsonWriter& JsonWriter::value(double number) {
  char digits[32];
  const std::to_chars_result end = std::to_chars(digits, digits + sizeof(digits), number);
  check(yajl_gen_number(_generator, digits, static_cast<size_t>(end.ptr - digits)));
  return *this;
}

JsonWriter& JsonWriter::value(bool truth) {
  check(yajl_gen_bool(_generator, truth));
  return *this;
}

JsonWriter& JsonWriter::null() {
  check(yajl_gen_null(_generator));
  return *this;
}

std::string JsonWriter::text() const {
  const unsigned char* buffer = nullptr;
  size_t length = 0;
  check(yajl_gen_get_buf(_generator, &buffer, &length));
  return std::string(reinterpret_cast<const char*>(buffer), length);
}

}  // namespace json
