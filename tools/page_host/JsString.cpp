#include "tools/page_host/JsString.h"

#include "tools/npapi_host/Text.h"

namespace page_host {

JsString::JsString(const std::string& utf8) {
  const npapi_host::Utf16 units = npapi_host::utf16FromUtf8(utf8.data(), utf8.size());
  _string = JSStringCreateWithCharacters(units.data(), units.size());
}

JsString::~JsString() {
  if (_string != nullptr) {
    JSStringRelease(_string);
  }
}

std::string JsString::utf8Of(JSStringRef string) {
  if (string == nullptr) {
    return std::string();
  }
  return npapi_host::utf8FromUtf16(JSStringGetCharactersPtr(string), JSStringGetLength(string));
}

}  // namespace page_host
