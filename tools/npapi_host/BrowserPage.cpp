#include <cstring>
#include <string>

#include "tools/npapi_host/AsyncCalls.h"
#include "tools/npapi_host/BrowserTable.h"
#include "tools/npapi_host/NpObjects.h"
#include "tools/npapi_host/PluginHost.h"
#include "tools/npapi_host/WindowLink.h"

// The page around an instance: what it is, addresses to fetch, calls for later.
namespace npapi_host {
namespace {

PageSide& page() {
  return PluginHost::current().page();
}

const char* userAgent(NPP) {
  return page().userAgent().c_str();
}

void showStatus(NPP npp, const char* message) {
  if (requireInstance(npp, "NPN_Status") != nullptr && page().window() != nullptr) {
    page().window()->status(message != nullptr ? message : "");
  }
}

// Answers of these need no instance: modules ask them while they are being started.
NPError getBrowserValue(NPNVariable variable, void* value) {
  WindowLink* window = page().window();
  switch (variable) {
    case NPNVxDisplay:
      *static_cast<void**>(value) = window != nullptr ? WindowLink::display() : nullptr;
      return window != nullptr ? NPERR_NO_ERROR : NPERR_GENERIC_ERROR;
    case NPNVnetscapeWindow:
      *static_cast<unsigned long*>(value) = window != nullptr ? window->window() : 0;
      return window != nullptr ? NPERR_NO_ERROR : NPERR_GENERIC_ERROR;
    case NPNVToolkit:
      *static_cast<NPNToolkitType*>(value) = NPNVGtk2;
      return NPERR_NO_ERROR;
    case NPNVjavascriptEnabledBool:
    case NPNVSupportsXEmbedBool:
      *static_cast<NPBool*>(value) = 1;
      return NPERR_NO_ERROR;
    case NPNVasdEnabledBool:
    case NPNVisOfflineBool:
    case NPNVSupportsWindowless:
    case NPNVprivateModeBool:
    case NPNVsupportsAdvancedKeyHandling:
    case NPNVsupportsAsyncBitmapSurfaceBool:
    case NPNVmuteAudioBool:
      *static_cast<NPBool*>(value) = 0;
      return NPERR_NO_ERROR;
    case NPNVCSSZoomFactor:
      *static_cast<double*>(value) = 1;
      return NPERR_NO_ERROR;
    default:
      return NPERR_GENERIC_ERROR;
  }
}

char* copyText(const std::string& text) {
  char* copy = static_cast<char*>(allocateMemory(static_cast<uint32_t>(text.size() + 1)));
  std::memcpy(copy, text.c_str(), text.size() + 1);
  return copy;
}

NPError getValue(NPP npp, NPNVariable variable, void* value) {
  if (variable != NPNVWindowNPObject && variable != NPNVPluginElementNPObject &&
      variable != NPNVdocumentOrigin) {
    requireMainThread("NPN_GetValue");
    return getBrowserValue(variable, value);
  }
  const std::shared_ptr<Instance> instance = requireInstance(npp, "NPN_GetValue");
  if (instance == nullptr) {
    return NPERR_INVALID_INSTANCE_ERROR;
  }
  if (variable == NPNVdocumentOrigin) {
    *static_cast<char**>(value) = copyText(page().origin());
    return NPERR_NO_ERROR;
  }
  NPObject* object = variable == NPNVWindowNPObject ? page().windowObject(instance->owner())
                                                    : page().elementObject(instance->owner());
  *static_cast<NPObject**>(value) = object;
  return object != nullptr ? NPERR_NO_ERROR : NPERR_GENERIC_ERROR;
}

// How an instance wants to be painted: there is one way only.
NPError setValue(NPP npp, NPPVariable, void*) {
  return requireInstance(npp, "NPN_SetValue") != nullptr ? NPERR_NO_ERROR
                                                         : NPERR_INVALID_INSTANCE_ERROR;
}

NPError fetch(NPP npp, const char* address, const char* target, bool notify, void* notifyData,
              const char* function) {
  const std::shared_ptr<Instance> instance = requireInstance(npp, function);
  if (instance == nullptr) {
    return NPERR_INVALID_INSTANCE_ERROR;
  }
  if (address == nullptr || target != nullptr) {  // a target would be a page of its own
    return NPERR_INVALID_PARAM;
  }
  return instance->fetch(address, notify, notifyData);
}

NPError getUrl(NPP npp, const char* address, const char* target) {
  return fetch(npp, address, target, false, nullptr, "NPN_GetURL");
}

NPError getUrlNotify(NPP npp, const char* address, const char* target, void* notifyData) {
  return fetch(npp, address, target, true, notifyData, "NPN_GetURLNotify");
}

// The one function that any thread may call.
void pluginThreadAsyncCall(NPP npp, void (*function)(void*), void* data) {
  AsyncCalls::post(npp, function, data);
}

uint32_t scheduleTimer(NPP npp, uint32_t interval, NPBool repeat, void (*function)(NPP, uint32_t)) {
  const std::shared_ptr<Instance> instance = requireInstance(npp, "NPN_ScheduleTimer");
  return instance != nullptr ? instance->scheduleTimer(interval, repeat != 0, function) : 0;
}

void unscheduleTimer(NPP npp, uint32_t timer) {
  const std::shared_ptr<Instance> instance = requireInstance(npp, "NPN_UnscheduleTimer");
  if (instance != nullptr) {
    instance->unscheduleTimer(timer);
  }
}

}  // namespace

void addPageFunctions(NPNetscapeFuncs* table) {
  table->uagent = userAgent;
  table->status = showStatus;
  table->getvalue = getValue;
  table->setvalue = setValue;
  table->geturl = getUrl;
  table->geturlnotify = getUrlNotify;
  table->pluginthreadasynccall = pluginThreadAsyncCall;
  table->scheduletimer = scheduleTimer;
  table->unscheduletimer = unscheduleTimer;
}

}  // namespace npapi_host
