#ifndef BROWSERS_NPAPI_COMMON_OV_ORVANE_WEB_SCRIPT_OBJECT_H_
#define BROWSERS_NPAPI_COMMON_OV_ORVANE_WEB_SCRIPT_OBJECT_H_

#include "npapi/npfunctions.h"

class ovOrvaneWebPlugin;

// The script object through which the page reaches one plugin instance. The browser keeps the
// header; the plugin sets `pdata` right after it had the object made, and clears it as the first
// step of its destruction: an object that the page kept then refuses everything. Main thread only.
struct OWScriptObject : NPObject {
  ovOrvaneWebPlugin* pdata;
};

extern const char* const OWScriptObjectPropertyName;
extern const char* const OWScriptObjectPropertyDropObserver;
extern const char* const OWScriptObjectPropertyEventHandler;

// A new class record for one plugin instance. It is never freed.
NPClass* OWCreateScriptObjectClass();

// The operations of the class record. Every one refuses an identifier that is not a string.
NPObject* OWScriptObjectAllocate(NPP instance, NPClass* objectClass);
void OWScriptObjectDeallocate(NPObject* object);
void OWScriptObjectInvalidate(NPObject* object);
bool OWScriptObjectHasMethod(NPObject* object, NPIdentifier identifier);
// Calls the method of that name. A standard exception becomes an error document as the result. The
// instance may be destroyed during the call.
bool OWScriptObjectInvoke(NPObject* object, NPIdentifier identifier, const NPVariant* args,
                          uint32_t argCount, NPVariant* result);
bool OWScriptObjectInvokeDefault(NPObject* object, const NPVariant* args, uint32_t argCount,
                                 NPVariant* result);
bool OWScriptObjectHasProperty(NPObject* object, NPIdentifier identifier);
bool OWScriptObjectGetProperty(NPObject* object, NPIdentifier identifier, NPVariant* result);
bool OWScriptObjectSetProperty(NPObject* object, NPIdentifier identifier, const NPVariant* value);
bool OWScriptObjectRemoveProperty(NPObject* object, NPIdentifier identifier);

#endif  // BROWSERS_NPAPI_COMMON_OV_ORVANE_WEB_SCRIPT_OBJECT_H_
