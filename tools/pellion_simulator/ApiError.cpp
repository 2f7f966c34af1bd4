#include "tools/pellion_simulator/ApiError.h"

#include "tools/json/JsonWriter.h"

namespace pellion_simulator {

std::string errorDocument(int code, const std::string& message) {
  json::JsonWriter json;
  json.openObject().key("error").openObject();
  json.key("code").value(static_cast<int64_t>(code)).key("user_message").value(message);
  return json.closeObject().closeObject().text();
}

}  // namespace pellion_simulator
