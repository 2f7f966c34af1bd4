#ifndef TOOLS_PAGE_HOST_PAGE_GLOBALS_H_
#define TOOLS_PAGE_HOST_PAGE_GLOBALS_H_

#include <JavaScriptCore/JavaScript.h>

#include <string>

namespace page_host {

class Page;

// Gives the page's global object what a page script finds there: window, location, console, timers,
// quit, createPlugin, destroyPlugin and `page`.
void definePageGlobals(Page* page);

// The functions of `page`, for the files that make them up.
void definePageFiles(Page* page, JSObjectRef object);

// A script function's arguments.
struct Arguments {
  JSContextRef context;
  size_t count;
  const JSValueRef* values;

  JSValueRef value(size_t index) const;
  // As String(argument) gives it; empty for a missing one.
  std::string text(size_t index) const;
  // NaN for what is no number.
  double number(size_t index) const;
};

// Throws an Error in the script; answers undefined.
JSValueRef throwError(JSContextRef context, const std::string& message, JSValueRef* exception);

}  // namespace page_host

#endif  // TOOLS_PAGE_HOST_PAGE_GLOBALS_H_
