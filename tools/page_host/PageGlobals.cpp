#include "tools/page_host/PageGlobals.h"

#include <glib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>

#include "tools/page_host/JsString.h"
#include "tools/page_host/Page.h"

namespace page_host {

JSValueRef Arguments::value(size_t index) const {
  return index < count ? values[index] : JSValueMakeUndefined(context);
}

std::string Arguments::text(size_t index) const {
  return index < count ? Page::current().engine().text(values[index]) : std::string();
}

double Arguments::number(size_t index) const {
  JSValueRef exception = nullptr;
  const double number = JSValueToNumber(context, value(index), &exception);
  return exception == nullptr ? number : NAN;
}

JSValueRef throwError(JSContextRef context, const std::string& message, JSValueRef* exception) {
  *exception = Page::current().engine().makeError(message);
  return JSValueMakeUndefined(context);
}

namespace {

// What every script function of ours looks like; `call` turns it into what the engine wants.
using Body = JSValueRef (*)(Page& page, const Arguments& args, JSValueRef* exception);

template <Body body>
JSValueRef call(JSContextRef context, JSObjectRef, JSObjectRef, size_t count,
                const JSValueRef values[], JSValueRef* exception) {
  return body(Page::current(), Arguments{context, count, values}, exception);
}

struct NamedFunction {
  const char* name;
  JSObjectCallAsFunctionCallback function;
};

template <Console::Level level>
JSValueRef print(Page& page, const Arguments& args, JSValueRef*) {
  std::string line;
  for (size_t i = 0; i < args.count; ++i) {
    line += (i == 0 ? "" : " ") + page.engine().describe(args.values[i]);
  }
  page.console().print(level, line);
  return JSValueMakeUndefined(args.context);
}

JSValueRef startTimer(Page& page, const Arguments& args, bool repeat, JSValueRef* exception) {
  JSObjectRef function = JSValueIsObject(args.context, args.value(0))
                             ? JSValueToObject(args.context, args.value(0), nullptr)
                             : nullptr;
  if (function == nullptr || !JSObjectIsFunction(args.context, function)) {
    return throwError(args.context, "a timer needs a function", exception);
  }
  const size_t extra = args.count > 2 ? args.count - 2 : 0;
  const double number = page.timers().add(function, args.number(1), repeat, extra,
                                          args.values + (args.count - extra));
  return JSValueMakeNumber(args.context, number);
}

JSValueRef setTimeoutBody(Page& page, const Arguments& args, JSValueRef* exception) {
  return startTimer(page, args, false, exception);
}

JSValueRef setIntervalBody(Page& page, const Arguments& args, JSValueRef* exception) {
  return startTimer(page, args, true, exception);
}

JSValueRef clearTimer(Page& page, const Arguments& args, JSValueRef*) {
  page.timers().clear(args.number(0));
  return JSValueMakeUndefined(args.context);
}

JSValueRef quit(Page& page, const Arguments& args, JSValueRef*) {
  const double code = args.number(0);
  page.quit(std::isfinite(code) ? static_cast<int>(std::fmod(code, 256)) & 0xFF : 0);
  return JSValueMakeUndefined(args.context);
}

NameValues paramsOf(Page& page, const Arguments& args) {
  NameValues params;
  if (!JSValueIsObject(args.context, args.value(0))) {
    return params;
  }
  JSObjectRef object = JSValueToObject(args.context, args.value(0), nullptr);
  JSPropertyNameArrayRef names = JSObjectCopyPropertyNames(args.context, object);
  for (size_t i = 0; i < JSPropertyNameArrayGetCount(names); ++i) {
    const std::string name = JsString::utf8Of(JSPropertyNameArrayGetNameAtIndex(names, i));
    params.emplace_back(name, page.engine().text(page.engine().get(object, name)));
  }
  JSPropertyNameArrayRelease(names);
  return params;
}

JSValueRef createPlugin(Page& page, const Arguments& args, JSValueRef* exception) {
  std::string error;
  JSObjectRef plugin = page.createPlugin(paramsOf(page, args), &error);
  return plugin != nullptr ? plugin : throwError(args.context, error, exception);
}

JSValueRef destroyPlugin(Page& page, const Arguments& args, JSValueRef* exception) {
  const std::shared_ptr<npapi_host::Instance> instance =
      JSValueIsObject(args.context, args.value(0))
          ? page.scriptPage().instanceOf(JSValueToObject(args.context, args.value(0), nullptr))
          : nullptr;
  if (instance == nullptr) {
    return throwError(args.context, "destroyPlugin() needs a plugin that has not been destroyed",
                      exception);
  }
  page.plugins().instances().end(instance);
  return JSValueMakeUndefined(args.context);
}

JSValueRef write(Page& page, const Arguments& args, JSValueRef*) {
  page.console().write(args.text(0));
  return JSValueMakeUndefined(args.context);
}

JSValueRef environment(Page& page, const Arguments& args, JSValueRef*) {
  const char* value = std::getenv(args.text(0).c_str());
  return value != nullptr ? page.engine().makeString(value) : JSValueMakeUndefined(args.context);
}

JSValueRef progress(Page& page, const Arguments& args, JSValueRef*) {
  if (page.window() != nullptr) {
    const double fraction = args.number(1);
    char number[G_ASCII_DTOSTR_BUF_SIZE];
    g_ascii_dtostr(number, sizeof(number), std::isfinite(fraction) ? fraction : 0);
    page.window()->send(
        {"progress", args.text(0), number, args.count > 2 ? args.text(2) : args.text(0)});
  }
  return JSValueMakeUndefined(args.context);
}

JSValueRef heldObjects(Page& page, const Arguments& args, JSValueRef*) {
  return JSValueMakeNumber(args.context, static_cast<double>(page.plugins().objects().count()));
}

template <size_t count>
void define(const ScriptEngine& engine, JSObjectRef object,
            const NamedFunction (&functions)[count]) {
  for (const NamedFunction& entry : functions) {
    engine.setFunction(object, entry.name, entry.function);
  }
}

JSObjectRef makeLocation(const Page& page, const ScriptEngine& engine) {
  const std::string address = page.address();
  const std::string protocol = address.substr(0, address.find(':') + 1);
  const std::string& hostname = page.options().hostname;
  JSObjectRef location = engine.makeObject();
  const std::string origin = hostname.empty() ? "null" : protocol + "//" + hostname;
  engine.set(location, "href", engine.makeString(address));
  engine.set(location, "protocol", engine.makeString(protocol));
  engine.set(location, "hostname", engine.makeString(hostname));
  engine.set(location, "host", engine.makeString(hostname));
  engine.set(location, "origin", engine.makeString(origin));
  engine.set(location, "pathname",
             engine.makeString(address.substr(address.find('/', protocol.size() + 2))));
  return location;
}

int terminalColumns() {
  winsize size = {};
  return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

JSObjectRef makePage(Page* page, const ScriptEngine& engine) {
  JSObjectRef object = engine.makeObject();
  define(engine, object,
         {{"write", call<write>},
          {"env", call<environment>},
          {"progress", call<progress>},
          {"heldObjects", call<heldObjects>}});
  definePageFiles(page, object);
  JSObjectRef args = engine.makeObject();
  for (const auto& arg : page->options().args) {
    engine.set(args, arg.first, engine.makeString(arg.second));
  }
  engine.set(object, "args", args);
  JSContextRef context = engine.context();
  engine.set(object, "isTerminal", JSValueMakeBoolean(context, isatty(STDOUT_FILENO) == 1));
  engine.set(object, "columns", JSValueMakeNumber(context, terminalColumns()));
  engine.set(object, "hasWindow", JSValueMakeBoolean(context, page->window() != nullptr));
  return object;
}

}  // namespace

void definePageGlobals(Page* page) {
  const ScriptEngine& engine = page->engine();
  JSObjectRef global = engine.global();
  define(engine, global,
         {{"setTimeout", call<setTimeoutBody>},
          {"setInterval", call<setIntervalBody>},
          {"clearTimeout", call<clearTimer>},
          {"clearInterval", call<clearTimer>},
          {"quit", call<quit>},
          {"createPlugin", call<createPlugin>},
          {"destroyPlugin", call<destroyPlugin>}});
  JSObjectRef console = engine.makeObject();
  define(engine, console,
         {{"log", call<print<Console::Level::kLog>>},
          {"warn", call<print<Console::Level::kWarning>>},
          {"error", call<print<Console::Level::kError>>}});
  engine.set(global, "console", console);
  JSObjectRef navigator = engine.makeObject();
  engine.set(navigator, "userAgent", engine.makeString(page->options().userAgent));
  engine.set(global, "navigator", navigator);
  engine.set(global, "window", global);
  engine.set(global, "location", makeLocation(*page, engine));
  engine.set(global, "page", makePage(page, engine));
}

}  // namespace page_host
