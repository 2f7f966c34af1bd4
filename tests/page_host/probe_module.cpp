// A small plugin module for the page host's tests. It writes down which NPP_ functions are called,
// in which order, and lets the page script make it call every NPN_ function of interest.

#include <gtk/gtk.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <utility>

#include "npapi/npfunctions.h"

namespace {

NPNetscapeFuncs* browser = nullptr;
std::string calls;  // of all instances
std::string received;

struct Probe {
  NPP npp;
  NPObject* script;
  NPObject* kept;
  NPWindow window;
  std::map<std::string, std::string> params;
  int readyCount;
};

struct ProbeObject : NPObject {
  Probe* probe;  // null once the instance has ended
  double value;
};

void note(const std::string& call) {
  calls += (calls.empty() ? "" : " ") + call;
  if (std::getenv("PROBE_TRACE") != nullptr) {
    dprintf(STDOUT_FILENO, "%s\n", call.c_str());
  }
}

std::string textOf(const NPVariant& variant) {
  return NPVARIANT_IS_STRING(variant) ? std::string(variant.value.stringValue.UTF8Characters,
                                                    variant.value.stringValue.UTF8Length)
                                      : std::string();
}

void answer(const std::string& text, NPVariant* result) {
  char* copy = static_cast<char*>(browser->memalloc(static_cast<uint32_t>(text.size())));
  std::memcpy(copy, text.data(), text.size());
  STRINGN_TO_NPVARIANT(copy, static_cast<uint32_t>(text.size()), *result);
}

std::string nameOf(NPIdentifier identifier) {
  char* text = browser->utf8fromidentifier(identifier);
  const std::string name =
      text != nullptr ? text : "#" + std::to_string(browser->intfromidentifier(identifier));
  browser->memfree(text);
  return name;
}

NPIdentifier identifier(const std::string& name) {
  return browser->getstringidentifier(name.c_str());
}

std::string kindOf(const NPVariant& variant) {
  static const char* const kKinds[] = {"void", "null", "bool", "int", "double", "string", "object"};
  return kKinds[variant.type];
}

struct LaterCall {
  Probe* probe;
  int number;
};

void runLater(void* data) {
  const LaterCall call = *static_cast<LaterCall*>(data);
  delete static_cast<LaterCall*>(data);
  NPVariant number;
  NPVariant result;
  DOUBLE_TO_NPVARIANT(call.number, number);
  if (browser->invokeDefault(call.probe->npp, call.probe->kept, &number, 1, &result)) {
    browser->releasevariantvalue(&result);
  }
}

void ticked(NPP npp, uint32_t) {
  runLater(new LaterCall{static_cast<Probe*>(npp->pdata), 0});
}

gboolean endLoop(gpointer loop) {
  g_main_loop_quit(static_cast<GMainLoop*>(loop));
  return FALSE;
}

NPObject* windowOf(NPP npp) {
  NPObject* window = nullptr;
  browser->getvalue(npp, NPNVWindowNPObject, &window);
  return window;
}

std::string describeBrowser(NPP npp) {
  unsigned long window = 1;
  NPNToolkitType toolkit = NPNVGtk12;
  NPBool xembed = 0;
  const NPError windowCode = browser->getvalue(npp, NPNVnetscapeWindow, &window);
  browser->getvalue(npp, NPNVToolkit, &toolkit);
  browser->getvalue(npp, NPNVSupportsXEmbedBool, &xembed);
  const void* const* words = reinterpret_cast<const void* const*>(browser);
  const auto missing = std::count(words + 1, words + sizeof(*browser) / sizeof(void*), nullptr);
  std::ostringstream text;
  text << "size " << browser->size << " missing " << missing << " window " << window << "/"
       << windowCode << " toolkit " << toolkit << " xembed " << int(xembed) << " agent "
       << browser->uagent(npp);
  return text.str();
}

// --- What the page can call. The arguments are checked by the page's author only. ---

struct Call {
  Probe* probe;
  const NPVariant* args;
  uint32_t count;
  NPVariant* result;
  bool good = true;

  NPP npp() const { return probe->npp; }
  NPObject* object() const { return args[0].value.objectValue; }
  NPIdentifier name() const { return identifier(textOf(args[1])); }
  int number() const { return static_cast<int>(args[0].value.doubleValue); }

  void give(const std::string& text) { answer(text, result); }
  void give(double number) { DOUBLE_TO_NPVARIANT(number, *result); }
  // Takes ownership.
  void give(NPObject* object) { OBJECT_TO_NPVARIANT(object, *result); }
};

NPClass* probeClass();
using Method = void (*)(Call& call);

const std::map<std::string, Method> kMethods = {
    {"kinds",
     [](Call& call) {
       std::string list;
       for (uint32_t i = 0; i < call.count; ++i) {
         list += (i == 0 ? "" : " ") + kindOf(call.args[i]);
       }
       call.give(list);
     }},
    {"echo",
     [](Call& call) {
       *call.result = call.args[0];
       if (NPVARIANT_IS_STRING(call.args[0])) {
         call.give(textOf(call.args[0]));
       } else if (NPVARIANT_IS_OBJECT(call.args[0])) {
         browser->retainobject(call.object());
       }
     }},
    {"hexOf",
     [](Call& call) {
       std::string hex;
       for (const unsigned char byte : textOf(call.args[0])) {
         hex += {"0123456789abcdef"[byte >> 4], "0123456789abcdef"[byte & 15]};
       }
       call.give(hex);
     }},
    {"fromHex",
     [](Call& call) {
       const std::string hex = textOf(call.args[0]);
       std::string bytes;
       for (size_t i = 0; i + 1 < hex.size(); i += 2) {
         bytes.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
       }
       call.give(bytes);
     }},
    {"nullString", [](Call& call) { STRINGN_TO_NPVARIANT(nullptr, 0, *call.result); }},
    // A script object that only the page holds.
    {"makeObject", [](Call& call) { call.give(browser->createobject(call.npp(), probeClass())); }},
    {"self", [](Call& call) { call.give(browser->retainobject(call.probe->script)); }},
    {"refuse", [](Call& call) { call.good = false; }},
    {"raise",
     [](Call& call) {
       browser->setexception(call.probe->script, textOf(call.args[0]).c_str());
       call.give("not seen");
     }},
    {"history", [](Call& call) { call.give(std::exchange(calls, "")); }},
    {"bytesReceived", [](Call& call) { call.give(std::exchange(received, "")); }},
    {"fetch",
     [](Call& call) {
       const std::string address = textOf(call.args[0]);
       const NPError code =
           call.count > 1 ? browser->geturlnotify(call.npp(), address.c_str(), nullptr, call.probe)
                          : browser->geturl(call.npp(), address.c_str(), nullptr);
       note("GetURL=" + std::to_string(code));
       INT32_TO_NPVARIANT(code, *call.result);
     }},
    {"keep",
     [](Call& call) {
       browser->releaseobject(call.probe->kept);
       call.probe->kept = call.count > 0 ? browser->retainobject(call.object()) : nullptr;
     }},
    {"callKept",
     [](Call& call) {
       const bool good =
           browser->invokeDefault(call.npp(), call.probe->kept, call.args, call.count, call.result);
       note(std::string("invokeDefault=") + (good ? "true:" : "false:") + kindOf(*call.result));
     }},
    // From another thread, as often as the argument says.
    {"callLater",
     [](Call& call) {
       std::thread([probe = call.probe, npp = call.npp(), count = call.number()] {
         for (int i = 1; i <= count; ++i) {
           browser->pluginthreadasynccall(npp, runLater, new LaterCall{probe, i});
         }
       }).join();
     }},
    // From another thread, for as long as the process lives.
    {"callForEver",
     [](Call& call) {
       std::thread([npp = call.npp()] {
         for (;;) {
           browser->pluginthreadasynccall(
               npp, [](void*) {}, nullptr);
           usleep(20);
         }
       }).detach();
     }},
    {"get",
     [](Call& call) {
       call.good = browser->getproperty(call.npp(), call.object(), call.name(), call.result);
     }},
    {"set",
     [](Call& call) {
       call.good = browser->setproperty(call.npp(), call.object(), call.name(), &call.args[2]);
     }},
    {"about",
     [](Call& call) {
       std::string text;
       for (const auto ask : {browser->hasproperty, browser->hasmethod, browser->removeproperty}) {
         text += ask(call.npp(), call.object(), call.name()) ? 'y' : 'n';
       }
       call.give(text);
     }},
    {"names",
     [](Call& call) {
       NPIdentifier* list = nullptr;
       uint32_t count = 0;
       call.good = browser->enumerate(call.npp(), call.object(), &list, &count);
       std::string text;
       for (uint32_t i = 0; i < count; ++i) {
         text += (i == 0 ? "" : " ") + nameOf(list[i]);
       }
       browser->memfree(list);
       call.give(text);
     }},
    {"invokeMember",
     [](Call& call) {
       call.good = browser->invoke(call.npp(), call.object(), call.name(), call.args + 2,
                                   call.count - 2, call.result);
     }},
    {"construct",
     [](Call& call) {
       call.good = browser->construct(call.npp(), call.object(), call.args + 1, call.count - 1,
                                      call.result);
     }},
    {"evaluate",
     [](Call& call) {
       NPObject* window = windowOf(call.npp());
       NPString script = call.args[0].value.stringValue;
       call.good = browser->evaluate(call.npp(), window, &script, call.result);
       browser->releaseobject(window);
     }},
    {"nppAddress",
     [](Call& call) { call.give(static_cast<double>(reinterpret_cast<uintptr_t>(call.npp()))); }},
    {"hang",
     [](Call&) {
       for (;;) {
         pause();
       }
     }},
    // A modal dialog's loop, as long as the page says.
    {"nest",
     [](Call& call) {
       GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
       g_timeout_add(static_cast<guint>(call.number()), endLoop, loop);
       g_main_loop_run(loop);
       g_main_loop_unref(loop);
     }},
    {"tick",
     [](Call& call) {
       const auto interval = static_cast<uint32_t>(call.number());
       call.give(browser->scheduletimer(call.npp(), interval, 1, ticked));
     }},
    {"stopTicking",
     [](Call& call) {
       browser->unscheduletimer(call.npp(), static_cast<uint32_t>(call.number()));
     }},
    {"describeBrowser", [](Call& call) { call.give(describeBrowser(call.npp())); }},
    {"useEnded",
     [](Call&) {
       NPP_t never = {};
       windowOf(&never);
     }},
    {"callOffThread",
     [](Call& call) { std::thread([&] { browser->retainobject(call.probe->script); }).join(); }}};

// --- The script object's class. ---

Method methodNamed(NPIdentifier name) {
  const auto method = kMethods.find(nameOf(name));
  return method != kMethods.end() ? method->second : nullptr;
}

void deallocate(NPObject* object) {
  note("deallocate");
  delete static_cast<ProbeObject*>(object);
}

bool invoke(NPObject* object, NPIdentifier name, const NPVariant* args, uint32_t count,
            NPVariant* result) {
  Probe* probe = static_cast<ProbeObject*>(object)->probe;
  const Method method = methodNamed(name);
  if (probe == nullptr || method == nullptr) {
    return false;
  }
  Call call = {probe, args, count, result};
  method(call);
  return call.good;
}

bool hasProperty(NPObject*, NPIdentifier name) {
  const std::string text = nameOf(name);
  return text == "value" || text == "fixed" || text == "kept" || text == "#3";
}

bool getProperty(NPObject* object, NPIdentifier name, NPVariant* result) {
  ProbeObject* self = static_cast<ProbeObject*>(object);
  if (self->probe == nullptr) {
    return false;
  }
  if (nameOf(name) == "kept") {
    NULL_TO_NPVARIANT(*result);
    if (self->probe->kept != nullptr) {
      OBJECT_TO_NPVARIANT(browser->retainobject(self->probe->kept), *result);
    }
  } else if (nameOf(name) == "fixed") {
    answer("fixed", result);
  } else {
    DOUBLE_TO_NPVARIANT(self->value, *result);
  }
  return true;
}

bool setProperty(NPObject* object, NPIdentifier name, const NPVariant* value) {
  static_cast<ProbeObject*>(object)->value = value->value.doubleValue;
  return nameOf(name) == "value" && NPVARIANT_IS_DOUBLE(*value);
}

bool enumerate(NPObject*, NPIdentifier** list, uint32_t* count) {
  *list = static_cast<NPIdentifier*>(browser->memalloc(2 * sizeof(NPIdentifier)));
  (*list)[0] = identifier("value");
  (*list)[1] = identifier("fixed");
  *count = 2;
  return true;
}

NPClass* probeClass() {
  static NPClass theClass = {
      NP_CLASS_STRUCT_VERSION,
      [](NPP, NPClass*) -> NPObject* { return new ProbeObject(); },
      deallocate,
      nullptr,
      [](NPObject*, NPIdentifier name) { return methodNamed(name) != nullptr; },
      invoke,
      nullptr,
      hasProperty,
      getProperty,
      setProperty,
      [](NPObject*, NPIdentifier) { return false; },
      enumerate,
      nullptr};
  return &theClass;
}

// --- The instance. Its parameters say how it behaves. ---

Probe* probeOf(NPP npp) {
  return static_cast<Probe*>(npp->pdata);
}

std::string param(NPP npp, const char* name) {
  return probeOf(npp)->params[name];
}

// Calls the function of the page's window that the parameter names; it may end this very instance.
void callPage(NPP npp, const char* parameter) {
  const std::string function = param(npp, parameter);
  if (!function.empty()) {
    NPVariant result;
    NPObject* window = windowOf(npp);
    browser->invoke(npp, window, identifier(function), nullptr, 0, &result);
    browser->releaseobject(window);
  }
}

NPError create(NPMIMEType type, NPP npp, uint16_t mode, int16_t argc, char** argn, char** argv,
               NPSavedData*) {
  note(std::string("New:") + type + ":" + std::to_string(mode));
  Probe* probe = new Probe();
  probe->npp = npp;
  npp->pdata = probe;
  for (int i = 0; i < argc; ++i) {
    probe->params[argn[i]] = argv[i];
  }
  if (param(npp, "new") == "refuse") {
    delete probe;
    return NPERR_OUT_OF_MEMORY_ERROR;
  }
  ProbeObject* object = static_cast<ProbeObject*>(browser->createobject(npp, probeClass()));
  object->probe = probe;
  probe->script = object;
  callPage(npp, "call-in-new");
  return NPERR_NO_ERROR;
}

NPError destroy(NPP npp, NPSavedData**) {
  note("Destroy");
  Probe* probe = probeOf(npp);
  if (!param(npp, "fetch-in-destroy").empty()) {
    note("GetURL=" + std::to_string(browser->geturl(npp, "data:,x", nullptr)));
  }
  static_cast<ProbeObject*>(probe->script)->probe = nullptr;
  browser->releaseobject(probe->script);
  if (param(npp, "leaky").empty()) {
    browser->releaseobject(probe->kept);
  }
  delete probe;
  npp->pdata = nullptr;
  return NPERR_NO_ERROR;
}

void showPlug(NPWindow* window) {
  if (!gtk_init_check(nullptr, nullptr)) {
    return;
  }
  GtkWidget* plug = gtk_plug_new(reinterpret_cast<uintptr_t>(window->window));
  GdkColor green;
  gdk_color_parse("#00aa55", &green);
  gtk_widget_modify_bg(plug, GTK_STATE_NORMAL, &green);
  gtk_widget_show(plug);
}

NPError setWindow(NPP npp, NPWindow* window) {
  const auto* system = static_cast<NPSetWindowCallbackStruct*>(window->ws_info);
  const bool screen = system != nullptr && system->display != nullptr && system->depth >= 8 &&
                      system->visual != nullptr && system->colormap != 0;
  note("SetWindow:" + std::string(window->window != nullptr ? "window:" : "0:") +
       std::to_string(window->width) + "x" + std::to_string(window->height) +
       (screen ? ":screen" : ""));
  if (window->window != nullptr && probeOf(npp)->window.window != window->window) {
    showPlug(window);
  }
  probeOf(npp)->window = *window;
  callPage(npp, "call-in-setwindow");
  return NPERR_NO_ERROR;
}

NPError newStream(NPP npp, NPMIMEType type, NPStream* stream, NPBool, uint16_t*) {
  const std::string url = stream->url;
  note(std::string("NewStream:") + type + ":" + std::to_string(stream->end) + ":" +
       (stream->headers != nullptr ? "headers:" : "") + url.substr(0, url.find(':')));
  if (param(npp, "stream") == "refuse") {
    return NPERR_GENERIC_ERROR;
  }
  callPage(npp, "call-in-newstream");
  return NPERR_NO_ERROR;
}

int32_t writeReady(NPP npp, NPStream*) {
  Probe* probe = probeOf(npp);
  if (param(npp, "stream") == "later" && ++probe->readyCount < 3) {
    note("WriteReady=0");
    return 0;
  }
  return param(npp, "stream") == "small" ? 4 : 0x0FFFFFFF;
}

int32_t writeBytes(NPP npp, NPStream*, int32_t offset, int32_t length, void* buffer) {
  note("Write:" + std::to_string(offset) + "+" + std::to_string(length));
  if (param(npp, "stream") == "fail") {
    return -1;
  }
  const int32_t accepted = param(npp, "stream") == "small" && length > 3 ? 3 : length;
  received.append(static_cast<char*>(buffer), static_cast<size_t>(accepted));
  return accepted;
}

NPError destroyStream(NPP npp, NPStream*, NPReason reason) {
  note("DestroyStream=" + std::to_string(reason));
  callPage(npp, "call-in-destroystream");
  return NPERR_NO_ERROR;
}

void urlNotify(NPP npp, const char* url, NPReason reason, void* data) {
  note(std::string("URLNotify:") + url + "=" + std::to_string(reason) +
       (data == probeOf(npp) ? "" : ":wrong"));
}

NPError getInstanceValue(NPP npp, NPPVariable variable, void* value) {
  if (variable != NPPVpluginScriptableNPObject) {
    return NPERR_GENERIC_ERROR;
  }
  *static_cast<NPObject**>(value) = browser->retainobject(probeOf(npp)->script);
  return NPERR_NO_ERROR;
}

}  // namespace

#define PROBE_EXPORT extern "C" __attribute__((visibility("default")))

PROBE_EXPORT const char* NP_GetMIMEDescription() {
  note("GetMIMEDescription");
  return "application/x-probe:prb:Probe";
}

PROBE_EXPORT NPError NP_GetValue(NPP, NPPVariable variable, void* value) {
  note("GetValue");
  *static_cast<const char**>(value) = "Probe";
  return variable == NPPVpluginNameString ? NPERR_NO_ERROR : NPERR_GENERIC_ERROR;
}

PROBE_EXPORT NPError NP_Initialize(NPNetscapeFuncs* table, NPPluginFuncs* plugin) {
  note(plugin->size >= sizeof(NPPluginFuncs) ? "Initialize" : "Initialize:small");
  browser = table;
  plugin->newp = create;
  plugin->destroy = destroy;
  plugin->setwindow = setWindow;
  plugin->newstream = newStream;
  plugin->writeready = writeReady;
  plugin->write = std::getenv("PROBE_WITHOUT_WRITE") == nullptr ? writeBytes : nullptr;
  plugin->destroystream = destroyStream;
  plugin->urlnotify = urlNotify;
  plugin->getvalue = getInstanceValue;
  return NPERR_NO_ERROR;
}

PROBE_EXPORT NPError NP_Shutdown() {
  note("Shutdown");
  return NPERR_NO_ERROR;
}
