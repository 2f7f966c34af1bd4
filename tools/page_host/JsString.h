#ifndef TOOLS_PAGE_HOST_JS_STRING_H_
#define TOOLS_PAGE_HOST_JS_STRING_H_

#include <JavaScriptCore/JavaScript.h>

#include <string>

namespace page_host {

// Owns one engine string.
class JsString {
 public:
  explicit JsString(const std::string& utf8);
  // Takes ownership; null counts as the empty string.
  explicit JsString(JSStringRef adopted) : _string(adopted) {}
  ~JsString();
  JsString(const JsString&) = delete;
  JsString& operator=(const JsString&) = delete;

  JSStringRef get() const { return _string; }
  std::string utf8() const { return utf8Of(_string); }
  static std::string utf8Of(JSStringRef string);

 private:
  JSStringRef _string;
};

}  // namespace page_host

#endif  // TOOLS_PAGE_HOST_JS_STRING_H_
