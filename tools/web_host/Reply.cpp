#include "tools/web_host/Reply.h"

#include <glib.h>

#include <cmath>

#include "tools/json/JsonWriter.h"
#include "tools/npapi_host/PageObject.h"
#include "tools/web_host/Message.h"

namespace web_host {

using json::JsonWriter;

namespace {

void writeUndefined(JsonWriter* json) {
  json->openObject().key("v").value("undefined").closeObject();
}

void writeNumber(double number, JsonWriter* json) {
  if (std::isfinite(number) && (number != 0 || !std::signbit(number))) {
    json->value(number);
    return;
  }
  const char* text = std::isnan(number) ? "NaN" : number == 0 ? "-0" : nullptr;
  if (text == nullptr) {
    text = number < 0 ? "-Infinity" : "Infinity";
  }
  json->openObject().key("v").value("number").key("text").value(text).closeObject();
}

void writeObject(NPObject* object, JsonWriter* json) {
  const npapi_host::PageObject* page = npapi_host::asPageObject(object);
  if (page == nullptr || page->ref == 0 || page->ref > kLargestNumber) {
    writeUndefined(json);
    return;
  }
  json->openObject().key("v").value("object");
  json->key("id").value(static_cast<int64_t>(page->ref)).closeObject();
}

void writeValue(const NPVariant& value, JsonWriter* json) {
  switch (value.type) {
    case NPVariantType_Void:
      return writeUndefined(json);
    case NPVariantType_Null:
      json->null();
      return;
    case NPVariantType_Bool:
      json->value(NPVARIANT_TO_BOOLEAN(value));
      return;
    case NPVariantType_Int32:
      json->value(static_cast<int64_t>(NPVARIANT_TO_INT32(value)));
      return;
    case NPVariantType_Double:
      return writeNumber(NPVARIANT_TO_DOUBLE(value), json);
    case NPVariantType_String:
      json->value(
          std::string(value.value.stringValue.UTF8Characters, value.value.stringValue.UTF8Length));
      return;
    case NPVariantType_Object:
      return writeObject(NPVARIANT_TO_OBJECT(value), json);
  }
}

std::string answerText(uint64_t number, const char* key, const std::string& text) {
  JsonWriter json;
  json.openObject().key("answer").value(static_cast<int64_t>(number));
  if (std::string(key) == "text") {
    json.key("refused").value(true);
  }
  return json.key(key).value(text).closeObject().text();
}

}  // namespace

std::string helloReply() {
  JsonWriter json;
  json.openObject().key("hello").value(static_cast<int64_t>(kProtocol));
  return json.key("version").value(ORVANE_VERSION).closeObject().text();
}

std::string doneAnswer(uint64_t number) {
  JsonWriter json;
  return json.openObject().key("answer").value(static_cast<int64_t>(number)).closeObject().text();
}

std::string valueAnswer(uint64_t number, const NPVariant& value) {
  if (NPVARIANT_IS_VOID(value)) {
    return doneAnswer(number);
  }
  JsonWriter json;
  json.openObject().key("answer").value(static_cast<int64_t>(number)).key("value");
  writeValue(value, &json);
  return json.closeObject().text();
}

std::string countAnswer(uint64_t number, size_t count) {
  JsonWriter json;
  json.openObject().key("answer").value(static_cast<int64_t>(number));
  return json.key("value").value(static_cast<int64_t>(count)).closeObject().text();
}

std::string truthAnswer(uint64_t number, bool truth) {
  JsonWriter json;
  json.openObject().key("answer").value(static_cast<int64_t>(number));
  return json.key("value").value(truth).closeObject().text();
}

std::string stateAnswer(uint64_t number, const HostState& state) {
  JsonWriter json;
  json.openObject().key("answer").value(static_cast<int64_t>(number)).key("value").openObject();
  json.key("version").value(ORVANE_VERSION).key("origin").value(state.origin);
  json.key("leave").value(state.leave);
  if (state.kept) {
    json.key("by").value(state.file.empty() ? "user" : "administrator");
  }
  if (!state.file.empty()) {
    json.key("file").value(state.file);
  }
  if (state.allowedNow.has_value()) {
    json.key("now").value(*state.allowedNow ? "allow" : "deny");
  }
  json.key("module").openObject();
  if (state.module.empty()) {
    json.key("error").value(state.moduleError);
  } else {
    json.key("path").value(state.module).key("loaded").value(state.moduleLoaded);
  }
  json.closeObject().key("elements").value(static_cast<int64_t>(state.elements));
  std::string text = json.closeObject().closeObject().text();
  if (!state.check.empty()) {
    text.insert(text.size() - 2, ",\"check\":" + state.check);
  }
  return text;
}

std::string refusedAnswer(uint64_t number, const std::string& text) {
  return answerText(number, "text", text);
}

std::string errorAnswer(uint64_t number, const std::string& text) {
  return answerText(number, "error", text);
}

std::string callTell(const CallTell& call) {
  JsonWriter json;
  json.openObject().key("tell").value("call");
  json.key("element").value(static_cast<int64_t>(call.element));
  json.key("object").value(static_cast<int64_t>(call.object));
  if (call.method != nullptr) {
    json.key("method").value(*call.method);
  }
  json.key("args").openArray();
  for (uint32_t i = 0; i < call.argCount; ++i) {
    writeValue(call.args[i], &json);
  }
  return json.closeArray().closeObject().text();
}

std::string releaseTell(uint64_t object, uint64_t mentions) {
  JsonWriter json;
  json.openObject().key("tell").value("release");
  json.key("object").value(static_cast<int64_t>(object));
  return json.key("mentions").value(static_cast<int64_t>(mentions)).closeObject().text();
}

std::string sayTell(const std::string& text) {
  JsonWriter json;
  return json.openObject().key("tell").value("say").key("text").value(text).closeObject().text();
}

std::string leaveTell(const std::string& origin, Leave leave) {
  JsonWriter json;
  json.openObject().key("tell").value("leave").key("origin").value(origin);
  return json.key("leave").value(leaveWord(leave)).closeObject().text();
}

std::string pictureTell(uint64_t element, const Picture& picture) {
  char* data =
      g_base64_encode(reinterpret_cast<const guchar*>(picture.bytes.data()), picture.bytes.size());
  JsonWriter json;
  json.openObject().key("tell").value("picture");
  json.key("element").value(static_cast<int64_t>(element)).key("type").value(picture.type);
  json.key("data").value(data).key("width").value(static_cast<int64_t>(picture.width));
  json.key("height").value(static_cast<int64_t>(picture.height)).closeObject();
  g_free(data);
  return json.text();
}

std::string windowTell(uint64_t element, bool open) {
  JsonWriter json;
  json.openObject().key("tell").value("window").key("element");
  json.value(static_cast<int64_t>(element)).key("open").value(open);
  return json.closeObject().text();
}

std::string fatalReply(const std::string& text) {
  JsonWriter json;
  return json.openObject().key("fatal").value(text).closeObject().text();
}

}  // namespace web_host
