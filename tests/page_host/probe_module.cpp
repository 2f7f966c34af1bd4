// A small plugin module for the page host's tests. It writes down which NPP_ functions are called,
// in which order, and lets the page script make it call every NPN_ function of interest.

#include <gtk/gtk.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

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
  int laterCount;
  std::vector<std::thread> threads;
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

// --- What the page can call. `args` are checked by the page's author only. ---

NPClass* probeClass();
using Args = const NPVariant*;
using Method = bool (*)(Probe* probe, Args args, uint32_t count, NPVariant* result);

bool kinds(Probe*, Args args, uint32_t count, NPVariant* result) {
  std::string list;
  for (uint32_t i = 0; i < count; ++i) {
    list += (i == 0 ? "" : " ") + kindOf(args[i]);
  }
  answer(list, result);
  return true;
}

bool echo(Probe*, Args args, uint32_t, NPVariant* result) {
  *result = args[0];
  if (NPVARIANT_IS_STRING(args[0])) {
    answer(textOf(args[0]), result);
  } else if (NPVARIANT_IS_OBJECT(args[0])) {
    browser->retainobject(args[0].value.objectValue);
  }
  return true;
}

bool hexOf(Probe*, Args args, uint32_t, NPVariant* result) {
  std::string hex;
  for (const unsigned char byte : textOf(args[0])) {
    char digits[3];
    std::snprintf(digits, sizeof(digits), "%02x", byte);
    hex += digits;
  }
  answer(hex, result);
  return true;
}

bool fromHex(Probe*, Args args, uint32_t, NPVariant* result) {
  const std::string hex = textOf(args[0]);
  std::string bytes;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
  }
  answer(bytes, result);
  return true;
}

bool toInt(Probe*, Args args, uint32_t, NPVariant* result) {
  INT32_TO_NPVARIANT(static_cast<int32_t>(args[0].value.doubleValue), *result);
  return true;
}

bool nullString(Probe*, Args, uint32_t, NPVariant* result) {
  STRINGN_TO_NPVARIANT(nullptr, 0, *result);
  return true;
}

// A script object that only the page holds.
bool makeObject(Probe* probe, Args, uint32_t, NPVariant* result) {
  OBJECT_TO_NPVARIANT(browser->createobject(probe->npp, probeClass()), *result);
  return true;
}

bool refuse(Probe*, Args, uint32_t, NPVariant*) {
  return false;
}

bool raise(Probe* probe, Args args, uint32_t, NPVariant* result) {
  browser->setexception(probe->script, textOf(args[0]).c_str());
  answer("not seen", result);
  return true;
}

bool self(Probe* probe, Args, uint32_t, NPVariant* result) {
  OBJECT_TO_NPVARIANT(browser->retainobject(probe->script), *result);
  return true;
}

bool history(Probe*, Args, uint32_t, NPVariant* result) {
  answer(calls, result);
  calls.clear();
  return true;
}

bool bytesReceived(Probe*, Args, uint32_t, NPVariant* result) {
  answer(received, result);
  received.clear();
  return true;
}

bool fetch(Probe* probe, Args args, uint32_t count, NPVariant* result) {
  const std::string address = textOf(args[0]);
  const NPError code = count > 1
                           ? browser->geturlnotify(probe->npp, address.c_str(), nullptr, probe)
                           : browser->geturl(probe->npp, address.c_str(), nullptr);
  note("GetURL=" + std::to_string(code));
  INT32_TO_NPVARIANT(code, *result);
  return true;
}

bool keep(Probe* probe, Args args, uint32_t count, NPVariant*) {
  browser->releaseobject(probe->kept);
  probe->kept = count > 0 ? browser->retainobject(args[0].value.objectValue) : nullptr;
  return true;
}

bool callKept(Probe* probe, Args args, uint32_t count, NPVariant* result) {
  const bool good = browser->invokeDefault(probe->npp, probe->kept, args, count, result);
  note(std::string("invokeDefault=") + (good ? "true:" : "false:") + kindOf(*result));
  return true;
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

// From another thread, as often as the first argument says.
bool callLater(Probe* probe, Args args, uint32_t, NPVariant*) {
  const int count = static_cast<int>(args[0].value.doubleValue);
  const NPP npp = probe->npp;
  probe->threads.emplace_back([probe, npp, count] {
    for (int i = 1; i <= count; ++i) {
      browser->pluginthreadasynccall(npp, runLater, new LaterCall{probe, i});
    }
  });
  probe->threads.back().join();
  probe->threads.pop_back();
  return true;
}

bool get(Probe* probe, Args args, uint32_t, NPVariant* result) {
  return browser->getproperty(probe->npp, args[0].value.objectValue, identifier(textOf(args[1])),
                              result);
}

bool set(Probe* probe, Args args, uint32_t, NPVariant* result) {
  BOOLEAN_TO_NPVARIANT(browser->setproperty(probe->npp, args[0].value.objectValue,
                                            identifier(textOf(args[1])), &args[2]),
                       *result);
  return true;
}

bool about(Probe* probe, Args args, uint32_t, NPVariant* result) {
  NPObject* object = args[0].value.objectValue;
  const NPIdentifier name = identifier(textOf(args[1]));
  const bool property = browser->hasproperty(probe->npp, object, name);
  const bool method = browser->hasmethod(probe->npp, object, name);
  const bool removed = browser->removeproperty(probe->npp, object, name);
  answer(std::string(property ? "property " : "- ") + (method ? "method " : "- ") +
             (removed ? "removed" : "-"),
         result);
  return true;
}

bool names(Probe* probe, Args args, uint32_t, NPVariant* result) {
  NPIdentifier* list = nullptr;
  uint32_t count = 0;
  if (!browser->enumerate(probe->npp, args[0].value.objectValue, &list, &count)) {
    return false;
  }
  std::string text;
  for (uint32_t i = 0; i < count; ++i) {
    text += (i == 0 ? "" : " ") + nameOf(list[i]);
  }
  browser->memfree(list);
  answer(text, result);
  return true;
}

bool invokeMember(Probe* probe, Args args, uint32_t count, NPVariant* result) {
  return browser->invoke(probe->npp, args[0].value.objectValue, identifier(textOf(args[1])),
                         args + 2, count - 2, result);
}

bool construct(Probe* probe, Args args, uint32_t count, NPVariant* result) {
  return browser->construct(probe->npp, args[0].value.objectValue, args + 1, count - 1, result);
}

bool evaluate(Probe* probe, Args args, uint32_t, NPVariant* result) {
  NPObject* window = nullptr;
  browser->getvalue(probe->npp, NPNVWindowNPObject, &window);
  NPString script = args[0].value.stringValue;
  const bool good = browser->evaluate(probe->npp, window, &script, result);
  browser->releaseobject(window);
  return good;
}

bool nppAddress(Probe* probe, Args, uint32_t, NPVariant* result) {
  DOUBLE_TO_NPVARIANT(static_cast<double>(reinterpret_cast<uintptr_t>(probe->npp)), *result);
  return true;
}

bool hang(Probe*, Args, uint32_t, NPVariant*) {
  for (;;) {
    pause();
  }
}

gboolean endLoop(gpointer loop) {
  g_main_loop_quit(static_cast<GMainLoop*>(loop));
  return FALSE;
}

// A modal dialog's loop, as long as the page says.
bool nest(Probe*, Args args, uint32_t, NPVariant*) {
  GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
  g_timeout_add(static_cast<guint>(args[0].value.doubleValue), endLoop, loop);
  g_main_loop_run(loop);
  g_main_loop_unref(loop);
  return true;
}

void ticked(NPP npp, uint32_t) {
  Probe* probe = static_cast<Probe*>(npp->pdata);
  runLater(new LaterCall{probe, ++probe->laterCount});
}

bool tick(Probe* probe, Args args, uint32_t, NPVariant* result) {
  if (NPVARIANT_IS_BOOLEAN(args[0])) {
    browser->unscheduletimer(probe->npp, static_cast<uint32_t>(args[1].value.doubleValue));
    return true;
  }
  const uint32_t timer = browser->scheduletimer(
      probe->npp, static_cast<uint32_t>(args[0].value.doubleValue), 1, ticked);
  DOUBLE_TO_NPVARIANT(timer, *result);
  return true;
}

bool describeBrowser(Probe* probe, Args, uint32_t, NPVariant* result) {
  unsigned long window = 1;
  NPNToolkitType toolkit = NPNVGtk12;
  NPBool xembed = 0;
  const NPError windowCode = browser->getvalue(probe->npp, NPNVnetscapeWindow, &window);
  browser->getvalue(probe->npp, NPNVToolkit, &toolkit);
  browser->getvalue(probe->npp, NPNVSupportsXEmbedBool, &xembed);
  const void* const* words = reinterpret_cast<const void* const*>(browser);
  int missing = 0;
  for (size_t i = 1; i < sizeof(*browser) / sizeof(void*); ++i) {
    missing += words[i] == nullptr;
  }
  answer("size " + std::to_string(browser->size) + " missing " + std::to_string(missing) +
             " window " + std::to_string(window) + "/" + std::to_string(windowCode) + " toolkit " +
             std::to_string(toolkit) + " xembed " + std::to_string(xembed) + " agent " +
             browser->uagent(probe->npp),
         result);
  return true;
}

bool useEnded(Probe*, Args, uint32_t, NPVariant*) {
  NPP_t never = {};
  void* value = nullptr;
  browser->getvalue(&never, NPNVWindowNPObject, &value);
  return true;
}

bool callOffThread(Probe* probe, Args, uint32_t, NPVariant*) {
  std::thread([probe] { browser->retainobject(probe->script); }).join();
  return true;
}

const std::pair<const char*, Method> kMethods[] = {{"kinds", kinds},
                                                   {"echo", echo},
                                                   {"hexOf", hexOf},
                                                   {"fromHex", fromHex},
                                                   {"toInt", toInt},
                                                   {"nullString", nullString},
                                                   {"makeObject", makeObject},
                                                   {"refuse", refuse},
                                                   {"raise", raise},
                                                   {"self", self},
                                                   {"history", history},
                                                   {"bytesReceived", bytesReceived},
                                                   {"fetch", fetch},
                                                   {"keep", keep},
                                                   {"callKept", callKept},
                                                   {"callLater", callLater},
                                                   {"get", get},
                                                   {"set", set},
                                                   {"about", about},
                                                   {"names", names},
                                                   {"invokeMember", invokeMember},
                                                   {"construct", construct},
                                                   {"evaluate", evaluate},
                                                   {"nppAddress", nppAddress},
                                                   {"hang", hang},
                                                   {"nest", nest},
                                                   {"tick", tick},
                                                   {"describeBrowser", describeBrowser},
                                                   {"useEnded", useEnded},
                                                   {"callOffThread", callOffThread}};

// --- The script object's class. ---

Method methodNamed(NPIdentifier name) {
  for (const auto& method : kMethods) {
    if (browser->identifierisstring(name) && nameOf(name) == method.first) {
      return method.second;
    }
  }
  return nullptr;
}

NPObject* allocate(NPP, NPClass*) {
  return new ProbeObject();
}

void deallocate(NPObject* object) {
  note("deallocate");
  delete static_cast<ProbeObject*>(object);
}

bool hasMethod(NPObject*, NPIdentifier name) {
  return methodNamed(name) != nullptr;
}

bool invoke(NPObject* object, NPIdentifier name, Args args, uint32_t count, NPVariant* result) {
  Probe* probe = static_cast<ProbeObject*>(object)->probe;
  const Method method = methodNamed(name);
  return probe != nullptr && method != nullptr && method(probe, args, count, result);
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

bool removeProperty(NPObject*, NPIdentifier) {
  return false;
}

bool enumerate(NPObject*, NPIdentifier** list, uint32_t* count) {
  *list = static_cast<NPIdentifier*>(browser->memalloc(2 * sizeof(NPIdentifier)));
  (*list)[0] = identifier("value");
  (*list)[1] = identifier("fixed");
  *count = 2;
  return true;
}

NPClass* probeClass() {
  static NPClass theClass = {NP_CLASS_STRUCT_VERSION,
                             allocate,
                             deallocate,
                             nullptr,
                             hasMethod,
                             invoke,
                             nullptr,
                             hasProperty,
                             getProperty,
                             setProperty,
                             removeProperty,
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

// Calls a function of the page's window, which may end this very instance.
void callPage(NPP npp, const std::string& function) {
  NPVariant result;
  NPObject* window = nullptr;
  if (!function.empty() && browser->getvalue(npp, NPNVWindowNPObject, &window) == NPERR_NO_ERROR) {
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
  callPage(npp, param(npp, "call-in-new"));
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
  GtkWidget* label = gtk_label_new("The probe's area");
  gtk_container_add(GTK_CONTAINER(plug), label);
  gtk_widget_show_all(plug);
}

NPError setWindow(NPP npp, NPWindow* window) {
  const auto* system = static_cast<NPSetWindowCallbackStruct*>(window->ws_info);
  note("SetWindow:" + std::string(window->window != nullptr ? "window:" : "0:") +
       std::to_string(window->width) + "x" + std::to_string(window->height) +
       (system == nullptr ? ""
        : system->display != nullptr && system->depth >= 8 && system->visual != nullptr &&
                system->colormap != 0
            ? ":screen"
            : ":broken"));
  if (window->window != nullptr && probeOf(npp)->window.window != window->window) {
    showPlug(window);
  }
  probeOf(npp)->window = *window;
  callPage(npp, param(npp, "call-in-setwindow"));
  return NPERR_NO_ERROR;
}

NPError newStream(NPP npp, NPMIMEType type, NPStream* stream, NPBool, uint16_t*) {
  const std::string url = stream->url;
  note(std::string("NewStream:") + type + ":" + std::to_string(stream->end) + ":" +
       (stream->headers != nullptr ? "headers:" : "") + url.substr(0, url.find(':')));
  if (param(npp, "stream") == "refuse") {
    return NPERR_GENERIC_ERROR;
  }
  callPage(npp, param(npp, "call-in-newstream"));
  return NPERR_NO_ERROR;
}

int32_t writeReady(NPP npp, NPStream*) {
  Probe* probe = probeOf(npp);
  if (param(npp, "stream") == "later" && ++probe->laterCount < 3) {
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
  callPage(npp, param(npp, "call-in-destroystream"));
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
  plugin->write = writeBytes;
  plugin->destroystream = destroyStream;
  plugin->urlnotify = urlNotify;
  plugin->getvalue = getInstanceValue;
  return NPERR_NO_ERROR;
}

PROBE_EXPORT NPError NP_Shutdown() {
  note("Shutdown");
  return NPERR_NO_ERROR;
}
