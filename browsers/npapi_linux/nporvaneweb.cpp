#include <cstring>
#include <exception>
#include <map>
#include <string>

#include "browsers/npapi_common/ovOrvaneWebPlugin.h"
#include "browsers/npapi_common/ovUtility.h"
#include "npapi/npfunctions.h"
#include "ovlib/ovlog.h"
#include "ovlib/ovtime.h"
#include "plugin/src/RunnableScheduler.h"
#include "plugin/src/Utils.h"

// The module's five entry points, and the functions that it hands to the browser for its instances.
// Everything runs on the browser's main thread; an instance's plugin object hangs in its `pdata`.

using Pellion::Web::RunnableScheduler;
namespace Utils = Pellion::Web::Utils;

namespace {

const char kMimeDescription[] = "application/x-orvane-web::Orvane Web";
const char kPluginName[] = "Orvane Web";
const char kPluginDescription[] = "Orvane NPAPI plugin";
constexpr uint16_t kPluginTableVersion = NPVERS_HAS_CLEAR_SITE_DATA;
constexpr int32_t kWriteReadySize = 0x0FFFFFFF;
constexpr size_t kBrowserTableWords = 59;
static_assert(sizeof(NPNetscapeFuncs) == kBrowserTableWords * sizeof(void*));
static_assert(sizeof(NPPluginFuncs) == 168);

// Null for a null instance and for one that has no plugin object.
ovOrvaneWebPlugin* pluginOf(NPP instance) {
  return instance != nullptr ? static_cast<ovOrvaneWebPlugin*>(instance->pdata) : nullptr;
}

void debugLine(const char* text) {
  if (ov_dbg_detail()) {
    ov_dbg("%s", text);
  }
}

// Logs the parameters and answers them by name; a later one of the same name wins.
std::map<std::string, std::string> readParameters(int16_t argc, char** argn, char** argv) {
  std::map<std::string, std::string> params;
  debugLine("Plugin parameters:");
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
  if (ov_dbg_detail()) {
    ov_dbg("NPP_New() [%p]", static_cast<void*>(instance));
  }
  try {
    std::map<std::string, std::string> params = readParameters(argc, argn, argv);
    instance->pdata = new ovOrvaneWebPlugin(instance, params);
  } catch (const std::exception& e) {
    ov_err("%s", e.what());
    return NPERR_GENERIC_ERROR;
  }
  const NPError error = OW_CocoaEventsSupportedCheck(instance);
  if (error != NPERR_NO_ERROR) {
    return error;
  }
  debugLine("NPP_New() - done");
  return NPERR_NO_ERROR;
}

NPError NPP_Destroy(NPP instance, NPSavedData**) {
  if (ov_dbg_detail()) {
    ov_dbg("NPP_Destroy() [%p]", static_cast<void*>(instance));
  }
  if (instance == nullptr) {
    ov_err("NPP_Destroy() - Null instance");
    return NPERR_INVALID_INSTANCE_ERROR;
  }
  // Taken away first: whatever the browser calls during the destruction finds no plugin object.
  const ovOrvaneWebPlugin* plugin = pluginOf(instance);
  instance->pdata = nullptr;
  delete plugin;
  debugLine("NPP_Destroy() - done");
  return NPERR_NO_ERROR;
}

NPError NPP_SetWindow(NPP instance, NPWindow* window) {
  debugLine("NPP_SetWindow()");
  ovOrvaneWebPlugin* plugin = pluginOf(instance);
  if (plugin == nullptr) {
    return NPERR_INVALID_INSTANCE_ERROR;
  }
  plugin->setWindow(window, instance);
  return NPERR_NO_ERROR;
}

NPError NPP_NewStream(NPP instance, NPMIMEType type, NPStream* stream, NPBool seekable,
                      uint16_t* stype) {
  debugLine("NPP_NewStream()");
  ovOrvaneWebPlugin* plugin = pluginOf(instance);
  if (plugin == nullptr) {
    return NPERR_INVALID_INSTANCE_ERROR;
  }
  plugin->createStream(type, stream, seekable, stype);
  return NPERR_NO_ERROR;
}

int32_t NPP_WriteReady(NPP, NPStream*) {
  debugLine("NPP_WriteReady()");
  return kWriteReadySize;
}

int32_t NPP_Write(NPP instance, NPStream* stream, int32_t offset, int32_t length, void* buffer) {
  debugLine("NPP_Write()");
  ovOrvaneWebPlugin* plugin = pluginOf(instance);
  if (plugin == nullptr) {
    // Deliberate: the browser reads this error code as two bytes taken.
    return NPERR_INVALID_INSTANCE_ERROR;
  }
  return plugin->receiveOnStream(stream, offset, length, buffer);
}

NPError NPP_DestroyStream(NPP instance, NPStream* stream, NPReason reason) {
  debugLine("NPP_DestroyStream()");
  ovOrvaneWebPlugin* plugin = pluginOf(instance);
  if (plugin == nullptr) {
    return NPERR_INVALID_INSTANCE_ERROR;
  }
  plugin->destroyStream(stream, reason);
  return NPERR_NO_ERROR;
}

void NPP_StreamAsFile(NPP instance, NPStream* stream, const char* fileName) {
  debugLine("NPP_StreamAsFile()");
  if (ovOrvaneWebPlugin* plugin = pluginOf(instance)) {
    plugin->streamAsFile(stream, fileName);
  }
}

void NPP_URLNotify(NPP instance, const char* url, NPReason reason, void*) {
  debugLine("NPP_URLNotify()");
  if (ovOrvaneWebPlugin* plugin = pluginOf(instance)) {
    plugin->urlNotify(url, reason);
  }
}

void NPP_Print(NPP, NPPrint*) {
  debugLine("NPP_Print()");
}

NPError NPP_GetValue(NPP instance, NPPVariable variable, void* value) {
  debugLine("NPP_GetValue()");
  ovOrvaneWebPlugin* plugin = pluginOf(instance);
  if (plugin == nullptr) {
    return NPERR_INVALID_INSTANCE_ERROR;
  }
  if (variable == NPPVpluginScriptableNPObject) {
    *static_cast<NPObject**>(value) = plugin->objectForWebScript();
  } else if (variable == NPPVpluginNeedsXEmbed) {
    *static_cast<NPBool*>(value) = true;
  }
  // Deliberate: an unknown variable counts as answered, though nothing is stored.
  return NPERR_NO_ERROR;
}

NPError NPP_SetValue(NPP, NPNVariable, void*) {
  debugLine("NPP_SetValue()");
  return NPERR_NO_ERROR;
}

int16_t NPP_HandleEvent(NPP instance, void* event) {
  debugLine("NPP_HandleEvent()");
  if (instance == nullptr) {
    return NPERR_INVALID_INSTANCE_ERROR;
  }
  ovOrvaneWebPlugin* plugin = pluginOf(instance);
  return event != nullptr && plugin != nullptr ? plugin->handleEvent(event) : int16_t{0};
}

NPError OW_PopulateNetscapeFunctionTable(NPNetscapeFuncs* browserFuncs) {
  debugLine("OW_PopulateNetscapeFunctionTable()");
  // Deliberate: always the whole table, even when the browser declares a smaller one; its later
  // entries are then whatever follows it in memory.
  // cppcheck-suppress pointerSize ; the size of the table, counted in entries
  std::memcpy(&g_NPNFuncs, browserFuncs, kBrowserTableWords * sizeof(void*));
  return NPERR_NO_ERROR;
}

NPError OW_PopulatePluginFunctionTable(NPPluginFuncs* pluginFuncs) {
  debugLine("OW_PopulatePluginFunctionTable()");
  if (pluginFuncs == nullptr) {
    ov_err("OW_PopulatePluginFunctionTable() - Null argument");
    return NPERR_INVALID_FUNCTABLE_ERROR;
  }
  if (pluginFuncs->size < sizeof(NPPluginFuncs)) {
    // Deliberate: only a warning; a table that is too small is filled all the same.
    ov_err("OW_PopulatePluginFunctionTable() - Bad NPPluginFuncs size=%d (expected=%d)",
           pluginFuncs->size, static_cast<int>(sizeof(NPPluginFuncs)));
  }
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
}

ORVANE_EXPORT NPError NP_Shutdown() {
  ov_log("Shutting down Orvane Web Gecko plugin");
  RunnableScheduler::cleanup();
  Utils::logCleanup();
  return NPERR_NO_ERROR;
}

ORVANE_EXPORT NPError NP_GetEntryPoints(NPPluginFuncs* pluginFuncs) {
  debugLine("NP_GetEntryPoints()");
  return OW_PopulatePluginFunctionTable(pluginFuncs);
}

ORVANE_EXPORT const char* NP_GetMIMEDescription() {
  debugLine("NP_GetMIMEDescription()");
  return kMimeDescription;
}

ORVANE_EXPORT NPError NP_GetValue(NPP instance, NPPVariable variable, void* value) {
  if (ov_dbg_detail()) {
    ov_dbg("NP_GetValue() - %d", static_cast<int>(variable));
  }
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
}

}  // extern "C"
