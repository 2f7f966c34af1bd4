#include <cstring>
#include <map>
#include <string>

#include "browsers/npapi_common/CBoundary.h"
#include "browsers/npapi_common/ovOrvaneWebPlugin.h"
#include "browsers/npapi_common/ovUtility.h"
#include "npapi/npfunctions.h"
#include "ovlib/ovlog.h"
#include "ovlib/ovtime.h"
#include "plugin/src/RunnableScheduler.h"
#include "plugin/src/Utils.h"

// The module's five entry points, and the functions that it hands to the browser for its instances.
// Everything runs on the browser's main thread; an instance's plugin object hangs in its `pdata`.
// No exception leaves any of them.

using Pellion::Web::RunnableScheduler;
namespace Utils = Pellion::Web::Utils;

namespace {

const char kMimeDescription[] = "application/x-orvane-web::Orvane Web";
const char kPluginName[] = "Orvane Web";
const char kPluginDescription[] = "Orvane NPAPI plugin";
constexpr uint16_t kPluginTableVersion = NPVERS_HAS_CLEAR_SITE_DATA;
constexpr int32_t kWriteReadySize = 0x0FFFFFFF;
constexpr int32_t kRefusedStream = -1;
constexpr size_t kBrowserTableWords = 59;
static_assert(sizeof(NPNetscapeFuncs) == kBrowserTableWords * sizeof(void*));
static_assert(sizeof(NPPluginFuncs) == 168);

// Null for a null instance and for one that has no plugin object.
ovOrvaneWebPlugin* pluginOf(NPP instance) {
  return instance != nullptr ? static_cast<ovOrvaneWebPlugin*>(instance->pdata) : nullptr;
}

// A call of the browser: its debug line, then `body`. Answers `failure` when that throws.
template <typename Result, typename Body>
Result enter(const char* name, Result failure, Body body) {
  return CBoundary::call(name, failure, [&] {
    ov_trace("%s", name);
    return body();
  });
}

// A call for an instance; `body` gets its plugin object.
template <typename Body>
NPError forward(const char* name, NPP instance, Body body) {
  return enter(name, NPERR_GENERIC_ERROR, [&] {
    ovOrvaneWebPlugin* plugin = pluginOf(instance);
    if (plugin == nullptr) {
      return NPERR_INVALID_INSTANCE_ERROR;
    }
    body(*plugin);
    return NPERR_NO_ERROR;
  });
}

// Logs the parameters and answers them by name; a later one of the same name wins.
std::map<std::string, std::string> readParameters(int16_t argc, char** argn, char** argv) {
  std::map<std::string, std::string> params;
  ov_trace("Plugin parameters:");
  for (int16_t i = 0; i < argc; ++i) {
    if (argn[i] != nullptr && argv[i] != nullptr) {
      ov_dbg("  %s = %s", argn[i], argv[i]);
      params[argn[i]] = argv[i];
    }
  }
  return params;
}

}  // namespace

extern "C" {

NPError NPP_New(NPMIMEType, NPP instance, uint16_t, int16_t argc, char** argn, char** argv,
                NPSavedData*) {
  return CBoundary::call("", NPERR_GENERIC_ERROR, [&] {
    ov_trace("NPP_New() [%p]", static_cast<void*>(instance));
    std::map<std::string, std::string> params = readParameters(argc, argn, argv);
    instance->pdata = new ovOrvaneWebPlugin(instance, params);
    const NPError error = OW_CocoaEventsSupportedCheck(instance);
    if (error == NPERR_NO_ERROR) {
      ov_trace("NPP_New() - done");
    }
    return error;
  });
}

NPError NPP_Destroy(NPP instance, NPSavedData**) {
  return CBoundary::call("NPP_Destroy()", NPERR_GENERIC_ERROR, [&] {
    ov_trace("NPP_Destroy() [%p]", static_cast<void*>(instance));
    if (instance == nullptr) {
      ov_err("NPP_Destroy() - Null instance");
      return NPERR_INVALID_INSTANCE_ERROR;
    }
    // Taken away first: whatever the browser calls during the destruction finds no plugin object.
    const ovOrvaneWebPlugin* plugin = pluginOf(instance);
    instance->pdata = nullptr;
    delete plugin;
    ov_trace("NPP_Destroy() - done");
    return NPERR_NO_ERROR;
  });
}

NPError NPP_SetWindow(NPP instance, NPWindow* window) {
  return forward("NPP_SetWindow()", instance,
                 [&](ovOrvaneWebPlugin& plugin) { plugin.setWindow(window, instance); });
}

NPError NPP_NewStream(NPP instance, NPMIMEType type, NPStream* stream, NPBool seekable,
                      uint16_t* stype) {
  return forward("NPP_NewStream()", instance, [&](ovOrvaneWebPlugin& plugin) {
    plugin.createStream(type, stream, seekable, stype);
  });
}

int32_t NPP_WriteReady(NPP, NPStream*) {
  return enter("NPP_WriteReady()", kWriteReadySize, [] { return kWriteReadySize; });
}

int32_t NPP_Write(NPP instance, NPStream* stream, int32_t offset, int32_t length, void* buffer) {
  return enter("NPP_Write()", kRefusedStream, [&]() -> int32_t {
    ovOrvaneWebPlugin* plugin = pluginOf(instance);
    if (plugin == nullptr) {
      // Deliberate: the browser reads this error code as two bytes taken.
      return NPERR_INVALID_INSTANCE_ERROR;
    }
    return plugin->receiveOnStream(stream, offset, length, buffer);
  });
}

NPError NPP_DestroyStream(NPP instance, NPStream* stream, NPReason reason) {
  return forward("NPP_DestroyStream()", instance,
                 [&](ovOrvaneWebPlugin& plugin) { plugin.destroyStream(stream, reason); });
}

void NPP_StreamAsFile(NPP instance, NPStream* stream, const char* fileName) {
  forward("NPP_StreamAsFile()", instance,
          [&](ovOrvaneWebPlugin& plugin) { plugin.streamAsFile(stream, fileName); });
}

void NPP_URLNotify(NPP instance, const char* url, NPReason reason, void*) {
  forward("NPP_URLNotify()", instance,
          [&](ovOrvaneWebPlugin& plugin) { plugin.urlNotify(url, reason); });
}

void NPP_Print(NPP, NPPrint*) {
  enter("NPP_Print()", NPERR_GENERIC_ERROR, [] { return NPERR_NO_ERROR; });
}

NPError NPP_GetValue(NPP instance, NPPVariable variable, void* value) {
  // Deliberate: an unknown variable counts as answered, though nothing is stored.
  return forward("NPP_GetValue()", instance, [&](ovOrvaneWebPlugin& plugin) {
    if (variable == NPPVpluginScriptableNPObject) {
      *static_cast<NPObject**>(value) = plugin.objectForWebScript();
    } else if (variable == NPPVpluginNeedsXEmbed) {
      *static_cast<NPBool*>(value) = true;
    }
  });
}

NPError NPP_SetValue(NPP, NPNVariable, void*) {
  return enter("NPP_SetValue()", NPERR_GENERIC_ERROR, [] { return NPERR_NO_ERROR; });
}

int16_t NPP_HandleEvent(NPP instance, void* event) {
  return enter("NPP_HandleEvent()", int16_t{0}, [&]() -> int16_t {
    if (instance == nullptr) {
      return NPERR_INVALID_INSTANCE_ERROR;
    }
    ovOrvaneWebPlugin* plugin = pluginOf(instance);
    return event != nullptr && plugin != nullptr ? plugin->handleEvent(event) : int16_t{0};
  });
}

NPError OW_PopulateNetscapeFunctionTable(NPNetscapeFuncs* browserFuncs) {
  ov_trace("OW_PopulateNetscapeFunctionTable()");
  // Deliberate: always the whole table, even when the browser declares a smaller one; its later
  // entries are then whatever follows it in memory.
  // cppcheck-suppress pointerSize ; the size of the table, counted in entries
  std::memcpy(&g_NPNFuncs, browserFuncs, kBrowserTableWords * sizeof(void*));
  return NPERR_NO_ERROR;
}

NPError OW_PopulatePluginFunctionTable(NPPluginFuncs* pluginFuncs) {
  ov_trace("OW_PopulatePluginFunctionTable()");
  if (pluginFuncs == nullptr) {
    ov_err("OW_PopulatePluginFunctionTable() - Null argument");
    return NPERR_INVALID_FUNCTABLE_ERROR;
  }
  if (pluginFuncs->size < sizeof(NPPluginFuncs)) {
    // Deliberate: only a warning; a table that is too small is filled all the same.
    ov_err("OW_PopulatePluginFunctionTable() - Bad NPPluginFuncs size=%d (expected=%d)",
           pluginFuncs->size, static_cast<int>(sizeof(NPPluginFuncs)));
  }
  // Deliberate: the size and the entries after `setvalue` stay as the browser left them.
  pluginFuncs->version = kPluginTableVersion;
  pluginFuncs->newp = NPP_New;
  pluginFuncs->destroy = NPP_Destroy;
  pluginFuncs->setwindow = NPP_SetWindow;
  pluginFuncs->newstream = NPP_NewStream;
  pluginFuncs->destroystream = NPP_DestroyStream;
  pluginFuncs->asfile = NPP_StreamAsFile;
  pluginFuncs->writeready = NPP_WriteReady;
  pluginFuncs->write = NPP_Write;
  pluginFuncs->print = NPP_Print;
  pluginFuncs->event = NPP_HandleEvent;
  pluginFuncs->urlnotify = NPP_URLNotify;
  pluginFuncs->javaClass = nullptr;
  pluginFuncs->getvalue = NPP_GetValue;
  pluginFuncs->setvalue = NPP_SetValue;
  return NPERR_NO_ERROR;
}

#define ORVANE_EXPORT __attribute__((visibility("default")))

ORVANE_EXPORT NPError NP_Initialize(NPNetscapeFuncs* browserFuncs, NPPluginFuncs* pluginFuncs) {
  return CBoundary::call("NP_Initialize()", NPERR_GENERIC_ERROR, [&] {
    ov_time_init();
    try {
      Utils::logInit();
    } catch (...) {
      // Deliberate: without a log file the module works all the same, and writes nothing.
    }
    ov_log("\n\nInitializing Orvane Web Gecko plugin\n");
    NPError error = OW_PopulateNetscapeFunctionTable(browserFuncs);
    if (error == NPERR_NO_ERROR) {
      error = OW_PopulatePluginFunctionTable(pluginFuncs);
    }
    if (error == NPERR_NO_ERROR) {
      RunnableScheduler::init();
    }
    return error;
  });
}

ORVANE_EXPORT NPError NP_Shutdown() {
  return CBoundary::call("NP_Shutdown()", NPERR_GENERIC_ERROR, [] {
    ov_log("Shutting down Orvane Web Gecko plugin");
    RunnableScheduler::cleanup();
    Utils::logCleanup();
    return NPERR_NO_ERROR;
  });
}

ORVANE_EXPORT NPError NP_GetEntryPoints(NPPluginFuncs* pluginFuncs) {
  return enter("NP_GetEntryPoints()", NPERR_GENERIC_ERROR,
               [&] { return OW_PopulatePluginFunctionTable(pluginFuncs); });
}

ORVANE_EXPORT const char* NP_GetMIMEDescription() {
  const char* const description = kMimeDescription;
  return enter("NP_GetMIMEDescription()", description, [&] { return description; });
}

ORVANE_EXPORT NPError NP_GetValue(NPP instance, NPPVariable variable, void* value) {
  return CBoundary::call("NP_GetValue()", NPERR_GENERIC_ERROR, [&] {
    ov_trace("NP_GetValue() - %d", static_cast<int>(variable));
    switch (variable) {
      case NPPVpluginNameString:
        *static_cast<const char**>(value) = kPluginName;
        return NPERR_NO_ERROR;
      case NPPVpluginDescriptionString:
        *static_cast<const char**>(value) = kPluginDescription;
        return NPERR_NO_ERROR;
      case NPPVpluginScriptableNPObject:
        return NPP_GetValue(instance, variable, value);
      default:
        return NPERR_GENERIC_ERROR;
    }
  });
}

}  // extern "C"
