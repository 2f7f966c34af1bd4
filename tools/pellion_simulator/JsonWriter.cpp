#include "tools/pellion_simulator/JsonWriter.h"

#include <glib.h>

#include <memory>
#include <stdexcept>

namespace pellion_simulator {

namespace {

void check(yajl_gen_status status) {
  if (status != yajl_gen_status_ok) {
    throw std::logic_error("JSON written out of order");
  }
}

std::string validUtf8(const std::string& text) {
  const auto length = static_cast<gssize>(text.size());
  if (g_utf8_validate(text.data(), length, nullptr)) {
    return text;
  }
  const std::unique_ptr<char, decltype(&g_free)> valid(g_utf8_make_valid(text.data(), length),
                                                       g_free);
  return valid.get();
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

JsonWriter& JsonWriter::value(bool truth) {
  check(yajl_gen_bool(_generator, truth));
  return *this;
}

std::string JsonWriter::text() const {
  const unsigned char* buffer = nullptr;
  size_t length = 0;
  check(yajl_gen_get_buf(_generator, &buffer, &length));
  return std::string(reinterpret_cast<const char*>(buffer), length);
}

std::string errorDocument(int code, const std::string& message) {
  JsonWriter json;
  json.openObject().key("error").openObject();
  json.key("code").value(static_cast<int64_t>(code)).key("user_message").value(message);
  return json.closeObject().closeObject().text();
}

}  // namespace pellion_simulator
