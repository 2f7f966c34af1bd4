#ifndef NPAPI_NPFUNCTIONS_H_
#define NPAPI_NPFUNCTIONS_H_

#include "npapi/npruntime.h"

// The two function tables that a browser and a plugin module exchange when the module is loaded.

// What the browser offers: 59 machine words, the first of which holds both `size` and `version`.
// Only pluginthreadasynccall may be called off the main thread.
struct NPNetscapeFuncs {
  uint16_t size;
  uint16_t version;
  NPError (*geturl)(NPP instance, const char* url, const char* target);
  NPError (*posturl)(NPP instance, const char* url, const char* target, uint32_t length,
                     const char* bytes, NPBool isFile);
  NPError (*requestread)(NPStream* stream, NPByteRange* ranges);
  NPError (*newstream)(NPP instance, NPMIMEType type, const char* target, NPStream** stream);
  int32_t (*write)(NPP instance, NPStream* stream, int32_t length, void* buffer);
  NPError (*destroystream)(NPP instance, NPStream* stream, NPReason reason);
  void (*status)(NPP instance, const char* message);
  const char* (*uagent)(NPP instance);
  void* (*memalloc)(uint32_t size);
  void (*memfree)(void* memory);
  uint32_t (*memflush)(uint32_t size);
  void (*reloadplugins)(NPBool reloadPages);
  void* (*getJavaEnv)();
  void* (*getJavaPeer)(NPP instance);
  NPError (*geturlnotify)(NPP instance, const char* url, const char* target, void* notifyData);
  NPError (*posturlnotify)(NPP instance, const char* url, const char* target, uint32_t length,
                           const char* bytes, NPBool isFile, void* notifyData);
  NPError (*getvalue)(NPP instance, NPNVariable variable, void* value);
  NPError (*setvalue)(NPP instance, NPPVariable variable, void* value);
  void (*invalidaterect)(NPP instance, NPRect* rectangle);
  void (*invalidateregion)(NPP instance, NPRegion region);
  void (*forceredraw)(NPP instance);
  NPIdentifier (*getstringidentifier)(const NPUTF8* name);
  void (*getstringidentifiers)(const NPUTF8** names, int32_t count, NPIdentifier* identifiers);
  NPIdentifier (*getintidentifier)(int32_t number);
  bool (*identifierisstring)(NPIdentifier identifier);
  // The caller frees the text with `memfree`.
  NPUTF8* (*utf8fromidentifier)(NPIdentifier identifier);
  int32_t (*intfromidentifier)(NPIdentifier identifier);
  NPObject* (*createobject)(NPP instance, NPClass* objectClass);
  NPObject* (*retainobject)(NPObject* object);
  void (*releaseobject)(NPObject* object);
  bool (*invoke)(NPP instance, NPObject* object, NPIdentifier name, const NPVariant* args,
                 uint32_t argCount, NPVariant* result);
  bool (*invokeDefault)(NPP instance, NPObject* object, const NPVariant* args, uint32_t argCount,
                        NPVariant* result);
  bool (*evaluate)(NPP instance, NPObject* object, NPString* script, NPVariant* result);
  bool (*getproperty)(NPP instance, NPObject* object, NPIdentifier name, NPVariant* result);
  bool (*setproperty)(NPP instance, NPObject* object, NPIdentifier name, const NPVariant* value);
  bool (*removeproperty)(NPP instance, NPObject* object, NPIdentifier name);
  bool (*hasproperty)(NPP instance, NPObject* object, NPIdentifier name);
  bool (*hasmethod)(NPP instance, NPObject* object, NPIdentifier name);
  void (*releasevariantvalue)(NPVariant* variant);
  void (*setexception)(NPObject* object, const NPUTF8* message);
  void (*pushpopupsenabledstate)(NPP instance, NPBool enabled);
  void (*poppopupsenabledstate)(NPP instance);
  bool (*enumerate)(NPP instance, NPObject* object, NPIdentifier** names, uint32_t* count);
  void (*pluginthreadasynccall)(NPP instance, void (*function)(void*), void* data);
  bool (*construct)(NPP instance, NPObject* object, const NPVariant* args, uint32_t argCount,
                    NPVariant* result);
  NPError (*getvalueforurl)(NPP instance, NPNURLVariable variable, const char* url, char** value,
                            uint32_t* length);
  NPError (*setvalueforurl)(NPP instance, NPNURLVariable variable, const char* url,
                            const char* value, uint32_t length);
  NPError (*getauthenticationinfo)(NPP instance, const char* protocol, const char* host,
                                   int32_t port, const char* scheme, const char* realm, char** user,
                                   uint32_t* userLength, char** password, uint32_t* passwordLength);
  uint32_t (*scheduletimer)(NPP instance, uint32_t interval, NPBool repeat,
                            void (*function)(NPP instance, uint32_t timer));
  void (*unscheduletimer)(NPP instance, uint32_t timer);
  NPError (*popupcontextmenu)(NPP instance, NPMenu* menu);
  NPBool (*convertpoint)(NPP instance, double sourceX, double sourceY,
                         NPCoordinateSpace sourceSpace, double* x, double* y,
                         NPCoordinateSpace space);
  NPBool (*handleevent)(NPP instance, void* event, NPBool handled);
  NPBool (*unfocusinstance)(NPP instance, NPFocusDirection direction);
  void (*urlredirectresponse)(NPP instance, void* notifyData, NPBool allow);
  NPError (*initasyncsurface)(NPP instance, NPSize* size, NPImageFormat format, void* initialData,
                              NPAsyncSurface* surface);
  NPError (*finalizeasyncsurface)(NPP instance, NPAsyncSurface* surface);
  void (*setcurrentasyncsurface)(NPP instance, NPAsyncSurface* surface, NPRect* changed);
};

// What the plugin module offers; all of it is called on the main thread.
struct NPPluginFuncs {
  uint16_t size;
  uint16_t version;
  NPError (*newp)(NPMIMEType type, NPP instance, uint16_t mode, int16_t argc, char** argn,
                  char** argv, NPSavedData* saved);
  NPError (*destroy)(NPP instance, NPSavedData** save);
  NPError (*setwindow)(NPP instance, NPWindow* window);
  NPError (*newstream)(NPP instance, NPMIMEType type, NPStream* stream, NPBool seekable,
                       uint16_t* stype);
  NPError (*destroystream)(NPP instance, NPStream* stream, NPReason reason);
  void (*asfile)(NPP instance, NPStream* stream, const char* fileName);
  int32_t (*writeready)(NPP instance, NPStream* stream);
  int32_t (*write)(NPP instance, NPStream* stream, int32_t offset, int32_t length, void* buffer);
  void (*print)(NPP instance, NPPrint* platformPrint);
  int16_t (*event)(NPP instance, void* event);
  void (*urlnotify)(NPP instance, const char* url, NPReason reason, void* notifyData);
  void* javaClass;
  NPError (*getvalue)(NPP instance, NPPVariable variable, void* value);
  NPError (*setvalue)(NPP instance, NPNVariable variable, void* value);
  NPBool (*gotfocus)(NPP instance, NPFocusDirection direction);
  void (*lostfocus)(NPP instance);
  void (*urlredirectnotify)(NPP instance, const char* url, int32_t status, void* notifyData);
  NPError (*clearsitedata)(const char* site, uint64_t flags, uint64_t maxAge);
  char** (*getsiteswithdata)();
  void (*didComposite)(NPP instance);
};

#endif  // NPAPI_NPFUNCTIONS_H_
