#ifndef TOOLS_JSON_JSON_WRITER_H_
#define TOOLS_JSON_JSON_WRITER_H_

#include <yajl/yajl_gen.h>

#include <cstdint>
#include <string>

namespace json {

// Writes one JSON document. Calls nest as the document does; text that is not UTF-8 is made so.
// Zero characters pass.
class JsonWriter {
 public:
  JsonWriter();
  ~JsonWriter();
  JsonWriter(const JsonWriter&) = delete;
  JsonWriter& operator=(const JsonWriter&) = delete;

  JsonWriter& openObject();
  JsonWriter& closeObject();
  JsonWriter& openArray();
  JsonWriter& closeArray();
  JsonWriter& key(const std::string& name) { return value(name); }
  JsonWriter& value(const std::string& text);
  JsonWriter& value(const char* text) { return value(std::string(text)); }
  JsonWriter& value(int64_t number);
  // Must be finite.
  JsonWriter& value(double number);
  JsonWriter& value(bool truth);
  JsonWriter& null();

  // The document so far.
  std::string text() const;

 private:
  yajl_gen _generator;
};

}  // namespace json

#endif  // TOOLS_JSON_JSON_WRITER_H_
