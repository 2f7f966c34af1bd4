#include "browsers/npapi_common/ovOrvaneWebScriptObject.h"

#include <cstdlib>
#include <cstring>
#include <exception>

#include "browsers/npapi_common/CBoundary.h"
#include "browsers/npapi_common/ovOrvaneWebPlugin.h"
#include "browsers/npapi_common/ovUtility.h"
#include "ovlib/ovlog.h"
#include "ovlib/ovtime.h"
#include "plugin/src/Json.h"

const char* const OWScriptObjectPropertyName = "name";
const char* const OWScriptObjectPropertyDropObserver = "dropObserver";
const char* const OWScriptObjectPropertyEventHandler = "eventHandler";

namespace {

using Plugin = ovOrvaneWebPlugin;

struct ScriptMethod {
  const char* name;
  bool (Plugin::*member)(const NPVariant* args, uint32_t argCount, NPVariant* result);
};

const ScriptMethod kMethods[] = {
    {"addToDownloadList", &Plugin::addToDownloadList},
    {"addToUploadList", &Plugin::addToUploadList},
    {"clearDownloadList", &Plugin::clearDownloadList},
    {"clearUploadList", &Plugin::clearUploadList},
    {"pellionHttpRequest", &Plugin::pellionHttpRequest},
    {"pellionHttpRequestAsync", &Plugin::pellionHttpRequestAsync},
    {"displayAboutWindow", &Plugin::displayAboutWindow},
    {"displayPreferencesWindow", &Plugin::displayPreferencesWindow},
    {"displayTransferManager", &Plugin::displayTransferManager},
    {"handleDrop", &Plugin::handleDrop},
    {"initSession", &Plugin::initSession},
    {"queryBrowserEngine", &Plugin::queryBrowserEngine},
    {"queryBuildVersion", &Plugin::queryBuildVersion},
    {"queryPluginVersion", &Plugin::queryPluginVersion},
    {"queryVersion", &Plugin::queryVersion},
    {"queryPellionVersion", &Plugin::queryPellionVersion},
    {"runOpenFileDialog", &Plugin::runOpenFileDialog},
    {"runOpenFileDialogAsync", &Plugin::runOpenFileDialogAsync},
    {"runOpenFolderDialog", &Plugin::runOpenFolderDialog},
    {"runOpenFolderDialogAsync", &Plugin::runOpenFolderDialogAsync},
    {"runSaveFileDialog", &Plugin::runSaveFileDialog},
    {"runSaveFileDialogAsync", &Plugin::runSaveFileDialogAsync},
    {"startDownload", &Plugin::startDownload},
    {"startDownloadToPath", &Plugin::startDownloadToPath},
    {"startUploadToURL", &Plugin::startUploadToURL},
    {"startListDownloadToPath", &Plugin::startListDownloadToPath},
    {"startListUploadToURL", &Plugin::startListUploadToURL},
};

struct ScriptProperty {
  const char* name;
  bool (Plugin::*get)(NPVariant* result);
  bool (Plugin::*set)(const NPVariant* value);
};

const ScriptProperty kProperties[] = {
    {OWScriptObjectPropertyName, &Plugin::getName, &Plugin::setName},
    {OWScriptObjectPropertyDropObserver, &Plugin::getDropObserver, &Plugin::setDropObserver},
    {OWScriptObjectPropertyEventHandler, &Plugin::getEventHandler, &Plugin::setEventHandler},
};

// Null for an identifier that is not a string.
// Deliberate: the text is never given back, so every access by name costs the page's process a few
// bytes for good.
const char* nameOf(NPIdentifier identifier) {
  return g_NPNFuncs.identifierisstring(identifier) ? g_NPNFuncs.utf8fromidentifier(identifier)
                                                   : nullptr;
}

// The entry of that name; null when there is none or the name is null.
template <typename Entry, size_t size>
const Entry* find(const Entry (&entries)[size], const char* name) {
  if (name != nullptr) {
    for (const Entry& entry : entries) {
      if (std::strcmp(entry.name, name) == 0) {
        return &entry;
      }
    }
  }
  return nullptr;
}

Plugin* ownerOf(NPObject* object) {
  return object != nullptr ? static_cast<OWScriptObject*>(object)->pdata : nullptr;
}

// The instance may be gone when this returns.
bool callMethod(Plugin* owner, const char* name, const NPVariant* args, uint32_t argCount,
                NPVariant* result) {
  const ScriptMethod* method = find(kMethods, name);
  if (method == nullptr) {
    return false;
  }
  try {
    return (owner->*method->member)(args, argCount, result);
  } catch (const std::exception& e) {
    return CBoundary::call("", false, [&] {
      OW_CharPtrToNPStringVariant(Pellion::Web::Json::createErrorAndLog(e).c_str(), result);
      return true;
    });
  }
}

// The instance may be gone when this returns. An exception, which no accessor is made to throw, is
// logged and counts as a refusal.
template <typename Accessor, typename Value>
bool accessProperty(NPObject* object, NPIdentifier identifier, Accessor ScriptProperty::*accessor,
                    Value* value) {
  Plugin* owner = ownerOf(object);
  const ScriptProperty* property =
      owner != nullptr ? find(kProperties, nameOf(identifier)) : nullptr;
  if (property == nullptr) {
    return false;
  }
  return CBoundary::call("", false, [&] { return (owner->*(property->*accessor))(value); });
}

bool checkClock(int error) {
  if (error != 0) {
    ov_err("ov_time_gettimeofday error: %i", error);
  }
  return error == 0;
}

}  // namespace

NPClass* OWCreateScriptObjectClass() {
  // Deliberate: nothing frees the record, so every instance leaves one behind.
  auto* record = static_cast<NPClass*>(std::malloc(sizeof(NPClass)));
  if (record != nullptr) {
    *record = {NP_CLASS_STRUCT_VERSION_CTOR,
               OWScriptObjectAllocate,
               OWScriptObjectDeallocate,
               OWScriptObjectInvalidate,
               OWScriptObjectHasMethod,
               OWScriptObjectInvoke,
               OWScriptObjectInvokeDefault,
               OWScriptObjectHasProperty,
               OWScriptObjectGetProperty,
               OWScriptObjectSetProperty,
               OWScriptObjectRemoveProperty,
               nullptr,
               nullptr};
  }
  return record;
}

NPObject* OWScriptObjectAllocate(NPP, NPClass* objectClass) {
  auto* object = static_cast<OWScriptObject*>(std::malloc(sizeof(OWScriptObject)));
  if (object != nullptr) {
    // Browsers set the header themselves; a host may leave it to a class that allocates.
    object->_class = objectClass;
    object->referenceCount = 1;
    object->pdata = nullptr;
  }
  return object;
}

// Deliberate: the record is not freed, so an object that the page let go stays in memory.
void OWScriptObjectDeallocate(NPObject*) {}

void OWScriptObjectInvalidate(NPObject*) {}

bool OWScriptObjectHasMethod(NPObject*, NPIdentifier identifier) {
  return find(kMethods, nameOf(identifier)) != nullptr;
}

bool OWScriptObjectInvoke(NPObject* object, NPIdentifier identifier, const NPVariant* args,
                          uint32_t argCount, NPVariant* result) {
  Plugin* owner = ownerOf(object);
  const char* name = owner != nullptr ? nameOf(identifier) : nullptr;
  if (name == nullptr) {
    return false;
  }
  timeval start;
  const bool timed = checkClock(ov_time_gettimeofday(&start));
  const bool answer = callMethod(owner, name, args, argCount, result);
  uint64_t elapsed;
  if (timed && checkClock(ov_time_get_usec_since(&start, &elapsed))) {
    ov_trace("OWScriptObjectInvoke - %s took %lu", name, elapsed);
  }
  return answer;
}

bool OWScriptObjectInvokeDefault(NPObject*, const NPVariant*, uint32_t, NPVariant*) {
  return false;
}

bool OWScriptObjectHasProperty(NPObject*, NPIdentifier identifier) {
  return find(kProperties, nameOf(identifier)) != nullptr;
}

bool OWScriptObjectGetProperty(NPObject* object, NPIdentifier identifier, NPVariant* result) {
  return accessProperty(object, identifier, &ScriptProperty::get, result);
}

bool OWScriptObjectSetProperty(NPObject* object, NPIdentifier identifier, const NPVariant* value) {
  return accessProperty(object, identifier, &ScriptProperty::set, value);
}

bool OWScriptObjectRemoveProperty(NPObject*, NPIdentifier) {
  return false;
}
