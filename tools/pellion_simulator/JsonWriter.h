#ifndef PELLION_SIMULATOR_JSON_WRITER_H_
#define PELLION_SIMULATOR_JSON_WRITER_H_

#include <yajl/yajl_gen.h>

#include <cstdint>
#include <string>

namespace pellion_simulator {

// Writes one JSON document. Calls nest as the document does; text that is not UTF-8 is made so.
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
  JsonWriter& value(bool truth);

  // The document so far.
  std::string text() const;

 private:
  yajl_gen _generator;
};

// The document in which failures are told: {"error":{"code":...,"user_message":"..."}}.
std::string errorDocument(int code, const std::string& message);

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_JSON_WRITER_H_
