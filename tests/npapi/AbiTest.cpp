#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>
#include <utility>

#include "npapi/npfunctions.h"

// The binary interface as browsers have it on x86-64 Linux. Compiling this file is the check; the
// one case at its end looks at the value helpers.

#define SIZE(type, size) static_assert(sizeof(type) == (size), #type)
#define RECORD(type, size, alignment) \
  SIZE(type, size);                   \
  static_assert(alignof(type) == (alignment), #type)
#define MEMBER(type, member, offset, size)                              \
  static_assert(offsetof(type, member) == (offset), #type "." #member); \
  static_assert(sizeof(type::member) == (size), #type "." #member)
// A member of a union that stands inside the record.
#define NESTED(type, member, offset, size)                              \
  static_assert(offsetof(type, member) == (offset), #type "." #member); \
  static_assert(sizeof(std::declval<type>().member) == (size), #type "." #member)
#define VALUE(name, number) static_assert((name) == (number), #name)
#define ENTRY(table, entry, offset, ...)                                \
  static_assert(offsetof(table, entry) == (offset), #table "." #entry); \
  static_assert(std::is_same_v<decltype(table::entry), __VA_ARGS__>, #table "." #entry)

RECORD(NPNetscapeFuncs, 472, 8);

RECORD(NPPluginFuncs, 168, 8);

RECORD(NPClass, 104, 8);
MEMBER(NPClass, structVersion, 0, 4);
MEMBER(NPClass, allocate, 8, 8);
MEMBER(NPClass, deallocate, 16, 8);
MEMBER(NPClass, invalidate, 24, 8);
MEMBER(NPClass, hasMethod, 32, 8);
MEMBER(NPClass, invoke, 40, 8);
MEMBER(NPClass, invokeDefault, 48, 8);
MEMBER(NPClass, hasProperty, 56, 8);
MEMBER(NPClass, getProperty, 64, 8);
MEMBER(NPClass, setProperty, 72, 8);
MEMBER(NPClass, removeProperty, 80, 8);
MEMBER(NPClass, enumerate, 88, 8);
MEMBER(NPClass, construct, 96, 8);

RECORD(NPObject, 16, 8);
MEMBER(NPObject, _class, 0, 8);
MEMBER(NPObject, referenceCount, 8, 4);

RECORD(NPVariant, 24, 8);
MEMBER(NPVariant, type, 0, 4);
MEMBER(NPVariant, value, 8, 16);
NESTED(NPVariant, value.boolValue, 8, 1);
NESTED(NPVariant, value.intValue, 8, 4);
NESTED(NPVariant, value.doubleValue, 8, 8);
NESTED(NPVariant, value.stringValue, 8, 16);
NESTED(NPVariant, value.objectValue, 8, 8);

RECORD(NPString, 16, 8);
MEMBER(NPString, UTF8Characters, 0, 8);
MEMBER(NPString, UTF8Length, 8, 4);

RECORD(NPWindow, 48, 8);
MEMBER(NPWindow, window, 0, 8);
MEMBER(NPWindow, x, 8, 4);
MEMBER(NPWindow, y, 12, 4);
MEMBER(NPWindow, width, 16, 4);
MEMBER(NPWindow, height, 20, 4);
MEMBER(NPWindow, clipRect, 24, 8);
MEMBER(NPWindow, ws_info, 32, 8);
MEMBER(NPWindow, type, 40, 4);

RECORD(NPStream, 48, 8);
MEMBER(NPStream, pdata, 0, 8);
MEMBER(NPStream, ndata, 8, 8);
MEMBER(NPStream, url, 16, 8);
MEMBER(NPStream, end, 24, 4);
MEMBER(NPStream, lastmodified, 28, 4);
MEMBER(NPStream, notifyData, 32, 8);
MEMBER(NPStream, headers, 40, 8);

RECORD(NPSetWindowCallbackStruct, 40, 8);
MEMBER(NPSetWindowCallbackStruct, type, 0, 4);
MEMBER(NPSetWindowCallbackStruct, display, 8, 8);
MEMBER(NPSetWindowCallbackStruct, visual, 16, 8);
MEMBER(NPSetWindowCallbackStruct, colormap, 24, 8);
MEMBER(NPSetWindowCallbackStruct, depth, 32, 4);

RECORD(NPP_t, 16, 8);
MEMBER(NPP_t, pdata, 0, 8);
MEMBER(NPP_t, ndata, 8, 8);

RECORD(NPRect, 8, 2);
MEMBER(NPRect, top, 0, 2);
MEMBER(NPRect, left, 2, 2);
MEMBER(NPRect, bottom, 4, 2);
MEMBER(NPRect, right, 6, 2);

RECORD(NPSavedData, 16, 8);
MEMBER(NPSavedData, len, 0, 4);
MEMBER(NPSavedData, buf, 8, 8);

SIZE(NPNVariable, 4);
SIZE(NPPVariable, 4);
SIZE(NPVariantType, 4);
SIZE(NPWindowType, 4);
SIZE(NPNToolkitType, 4);
SIZE(NPNURLVariable, 4);
SIZE(NPError, 2);
SIZE(NPReason, 2);
SIZE(NPBool, 1);
SIZE(NPMIMEType, 8);
SIZE(NPIdentifier, 8);
SIZE(NPUTF8, 1);
SIZE(bool, 1);
SIZE(NPP, 8);

VALUE(NPNVxDisplay, 1);
VALUE(NPNVxtAppContext, 2);
VALUE(NPNVnetscapeWindow, 3);
VALUE(NPNVjavascriptEnabledBool, 4);
VALUE(NPNVasdEnabledBool, 5);
VALUE(NPNVisOfflineBool, 6);
VALUE(NPNVserviceManager, 268435466);
VALUE(NPNVDOMElement, 268435467);
VALUE(NPNVDOMWindow, 268435468);
VALUE(NPNVToolkit, 268435469);
VALUE(NPNVSupportsXEmbedBool, 14);
VALUE(NPNVWindowNPObject, 15);
VALUE(NPNVPluginElementNPObject, 16);
VALUE(NPNVSupportsWindowless, 17);
VALUE(NPNVprivateModeBool, 18);
VALUE(NPNVsupportsAdvancedKeyHandling, 21);
VALUE(NPNVdocumentOrigin, 22);
VALUE(NPNVCSSZoomFactor, 23);
VALUE(NPNVpluginDrawingModel, 1000);
VALUE(NPNVsupportsAsyncBitmapSurfaceBool, 2007);
VALUE(NPNVmuteAudioBool, 4000);

VALUE(NPPVpluginNameString, 1);
VALUE(NPPVpluginDescriptionString, 2);
VALUE(NPPVpluginWindowBool, 3);
VALUE(NPPVpluginTransparentBool, 4);
VALUE(NPPVjavaClass, 5);
VALUE(NPPVpluginWindowSize, 6);
VALUE(NPPVpluginTimerInterval, 7);
VALUE(NPPVpluginScriptableInstance, 268435466);
VALUE(NPPVpluginScriptableIID, 11);
VALUE(NPPVjavascriptPushCallerBool, 12);
VALUE(NPPVpluginKeepLibraryInMemory, 13);
VALUE(NPPVpluginNeedsXEmbed, 14);
VALUE(NPPVpluginScriptableNPObject, 15);
VALUE(NPPVformValue, 16);
VALUE(NPPVpluginUrlRequestsDisplayedBool, 17);
VALUE(NPPVpluginWantsAllNetworkStreams, 18);
VALUE(NPPVpluginNativeAccessibleAtkPlugId, 19);
VALUE(NPPVpluginCancelSrcStream, 20);
VALUE(NPPVsupportsAdvancedKeyHandling, 21);
VALUE(NPPVpluginUsesDOMForCursorBool, 22);
VALUE(NPPVpluginDrawingModel, 1000);
VALUE(NPPVpluginIsPlayingAudio, 4000);

VALUE(NPVariantType_Void, 0);
VALUE(NPVariantType_Null, 1);
VALUE(NPVariantType_Bool, 2);
VALUE(NPVariantType_Int32, 3);
VALUE(NPVariantType_Double, 4);
VALUE(NPVariantType_String, 5);
VALUE(NPVariantType_Object, 6);

VALUE(NPWindowTypeWindow, 1);
VALUE(NPWindowTypeDrawable, 2);

VALUE(NPNVGtk12, 1);
VALUE(NPNVGtk2, 2);

VALUE(NPNURLVCookie, 501);
VALUE(NPNURLVProxy, 502);

VALUE(NP_VERSION_MAJOR, 0);
VALUE(NP_VERSION_MINOR, 29);
VALUE(NP_ABI_GCC3_MASK, 268435456);
VALUE(NP_ABI_MASK, 268435456);
VALUE(NP_EMBED, 1);
VALUE(NP_FULL, 2);
VALUE(NP_NORMAL, 1);
VALUE(NP_SEEK, 2);
VALUE(NP_ASFILE, 3);
VALUE(NP_ASFILEONLY, 4);
VALUE(NP_MAXREADY, 2147483647);

VALUE(NPERR_BASE, 0);
VALUE(NPERR_NO_ERROR, 0);
VALUE(NPERR_GENERIC_ERROR, 1);
VALUE(NPERR_INVALID_INSTANCE_ERROR, 2);
VALUE(NPERR_INVALID_FUNCTABLE_ERROR, 3);
VALUE(NPERR_MODULE_LOAD_FAILED_ERROR, 4);
VALUE(NPERR_OUT_OF_MEMORY_ERROR, 5);
VALUE(NPERR_INVALID_PLUGIN_ERROR, 6);
VALUE(NPERR_INVALID_PLUGIN_DIR_ERROR, 7);
VALUE(NPERR_INCOMPATIBLE_VERSION_ERROR, 8);
VALUE(NPERR_INVALID_PARAM, 9);
VALUE(NPERR_INVALID_URL, 10);
VALUE(NPERR_FILE_NOT_FOUND, 11);
VALUE(NPERR_NO_DATA, 12);
VALUE(NPERR_STREAM_NOT_SEEKABLE, 13);
VALUE(NPERR_TIME_RANGE_NOT_SUPPORTED, 14);
VALUE(NPERR_MALFORMED_SITE, 15);

VALUE(NPRES_BASE, 0);
VALUE(NPRES_DONE, 0);
VALUE(NPRES_NETWORK_ERR, 1);
VALUE(NPRES_USER_BREAK, 2);

VALUE(NPVERS_HAS_STREAMOUTPUT, 8);
VALUE(NPVERS_HAS_NOTIFICATION, 9);
VALUE(NPVERS_HAS_LIVECONNECT, 9);
VALUE(NPVERS_68K_HAS_LIVECONNECT, 11);
VALUE(NPVERS_HAS_WINDOWLESS, 11);
VALUE(NPVERS_HAS_XPCONNECT_SCRIPTING, 13);
VALUE(NPVERS_HAS_NPRUNTIME_SCRIPTING, 14);
VALUE(NPVERS_HAS_FORM_VALUES, 15);
VALUE(NPVERS_HAS_POPUPS_ENABLED_STATE, 16);
VALUE(NPVERS_HAS_RESPONSE_HEADERS, 17);
VALUE(NPVERS_HAS_NPOBJECT_ENUM, 18);
VALUE(NPVERS_HAS_PLUGIN_THREAD_ASYNC_CALL, 19);
VALUE(NPVERS_HAS_ALL_NETWORK_STREAMS, 20);
VALUE(NPVERS_HAS_URL_AND_AUTH_INFO, 21);
VALUE(NPVERS_HAS_PRIVATE_MODE, 22);
VALUE(NPVERS_MACOSX_HAS_COCOA_EVENTS, 23);
VALUE(NPVERS_HAS_ADVANCED_KEY_HANDLING, 25);
VALUE(NPVERS_HAS_URL_REDIRECT_HANDLING, 26);
VALUE(NPVERS_HAS_CLEAR_SITE_DATA, 27);
VALUE(NP_CLASS_STRUCT_VERSION, 3);
VALUE(NP_CLASS_STRUCT_VERSION_ENUM, 2);
VALUE(NP_CLASS_STRUCT_VERSION_CTOR, 3);

VALUE(NP_SETWINDOW, 1);

VALUE(NP_PRINT, 2);

ENTRY(NPNetscapeFuncs, size, 0, uint16_t);
ENTRY(NPNetscapeFuncs, version, 2, uint16_t);
ENTRY(NPNetscapeFuncs, geturl, 8, NPError (*)(NPP, const char*, const char*));
ENTRY(NPNetscapeFuncs, posturl, 16,
      NPError (*)(NPP, const char*, const char*, uint32_t, const char*, NPBool));
ENTRY(NPNetscapeFuncs, requestread, 24, NPError (*)(NPStream*, NPByteRange*));
ENTRY(NPNetscapeFuncs, newstream, 32, NPError (*)(NPP, NPMIMEType, const char*, NPStream**));
ENTRY(NPNetscapeFuncs, write, 40, int32_t (*)(NPP, NPStream*, int32_t, void*));
ENTRY(NPNetscapeFuncs, destroystream, 48, NPError (*)(NPP, NPStream*, NPReason));
ENTRY(NPNetscapeFuncs, status, 56, void (*)(NPP, const char*));
ENTRY(NPNetscapeFuncs, uagent, 64, const char* (*)(NPP));
ENTRY(NPNetscapeFuncs, memalloc, 72, void* (*)(uint32_t));
ENTRY(NPNetscapeFuncs, memfree, 80, void (*)(void*));
ENTRY(NPNetscapeFuncs, memflush, 88, uint32_t (*)(uint32_t));
ENTRY(NPNetscapeFuncs, reloadplugins, 96, void (*)(NPBool));
ENTRY(NPNetscapeFuncs, getJavaEnv, 104, void* (*)());
ENTRY(NPNetscapeFuncs, getJavaPeer, 112, void* (*)(NPP));
ENTRY(NPNetscapeFuncs, geturlnotify, 120, NPError (*)(NPP, const char*, const char*, void*));
ENTRY(NPNetscapeFuncs, posturlnotify, 128,
      NPError (*)(NPP, const char*, const char*, uint32_t, const char*, NPBool, void*));
ENTRY(NPNetscapeFuncs, getvalue, 136, NPError (*)(NPP, NPNVariable, void*));
ENTRY(NPNetscapeFuncs, setvalue, 144, NPError (*)(NPP, NPPVariable, void*));
ENTRY(NPNetscapeFuncs, invalidaterect, 152, void (*)(NPP, NPRect*));
ENTRY(NPNetscapeFuncs, invalidateregion, 160, void (*)(NPP, NPRegion));
ENTRY(NPNetscapeFuncs, forceredraw, 168, void (*)(NPP));
ENTRY(NPNetscapeFuncs, getstringidentifier, 176, NPIdentifier (*)(const NPUTF8*));
ENTRY(NPNetscapeFuncs, getstringidentifiers, 184, void (*)(const NPUTF8**, int32_t, NPIdentifier*));
ENTRY(NPNetscapeFuncs, getintidentifier, 192, NPIdentifier (*)(int32_t));
ENTRY(NPNetscapeFuncs, identifierisstring, 200, bool (*)(NPIdentifier));
ENTRY(NPNetscapeFuncs, utf8fromidentifier, 208, NPUTF8* (*)(NPIdentifier));
ENTRY(NPNetscapeFuncs, intfromidentifier, 216, int32_t (*)(NPIdentifier));
ENTRY(NPNetscapeFuncs, createobject, 224, NPObject* (*)(NPP, NPClass*));
ENTRY(NPNetscapeFuncs, retainobject, 232, NPObject* (*)(NPObject*));
ENTRY(NPNetscapeFuncs, releaseobject, 240, void (*)(NPObject*));
ENTRY(NPNetscapeFuncs, invoke, 248,
      bool (*)(NPP, NPObject*, NPIdentifier, const NPVariant*, uint32_t, NPVariant*));
ENTRY(NPNetscapeFuncs, invokeDefault, 256,
      bool (*)(NPP, NPObject*, const NPVariant*, uint32_t, NPVariant*));
ENTRY(NPNetscapeFuncs, evaluate, 264, bool (*)(NPP, NPObject*, NPString*, NPVariant*));
ENTRY(NPNetscapeFuncs, getproperty, 272, bool (*)(NPP, NPObject*, NPIdentifier, NPVariant*));
ENTRY(NPNetscapeFuncs, setproperty, 280, bool (*)(NPP, NPObject*, NPIdentifier, const NPVariant*));
ENTRY(NPNetscapeFuncs, removeproperty, 288, bool (*)(NPP, NPObject*, NPIdentifier));
ENTRY(NPNetscapeFuncs, hasproperty, 296, bool (*)(NPP, NPObject*, NPIdentifier));
ENTRY(NPNetscapeFuncs, hasmethod, 304, bool (*)(NPP, NPObject*, NPIdentifier));
ENTRY(NPNetscapeFuncs, releasevariantvalue, 312, void (*)(NPVariant*));
ENTRY(NPNetscapeFuncs, setexception, 320, void (*)(NPObject*, const NPUTF8*));
ENTRY(NPNetscapeFuncs, pushpopupsenabledstate, 328, void (*)(NPP, NPBool));
ENTRY(NPNetscapeFuncs, poppopupsenabledstate, 336, void (*)(NPP));
ENTRY(NPNetscapeFuncs, enumerate, 344, bool (*)(NPP, NPObject*, NPIdentifier**, uint32_t*));
ENTRY(NPNetscapeFuncs, pluginthreadasynccall, 352, void (*)(NPP, void (*)(void*), void*));
ENTRY(NPNetscapeFuncs, construct, 360,
      bool (*)(NPP, NPObject*, const NPVariant*, uint32_t, NPVariant*));
ENTRY(NPNetscapeFuncs, getvalueforurl, 368,
      NPError (*)(NPP, NPNURLVariable, const char*, char**, uint32_t*));
ENTRY(NPNetscapeFuncs, setvalueforurl, 376,
      NPError (*)(NPP, NPNURLVariable, const char*, const char*, uint32_t));
ENTRY(NPNetscapeFuncs, getauthenticationinfo, 384,
      NPError (*)(NPP, const char*, const char*, int32_t, const char*, const char*, char**,
                  uint32_t*, char**, uint32_t*));
ENTRY(NPNetscapeFuncs, scheduletimer, 392,
      uint32_t (*)(NPP, uint32_t, NPBool, void (*)(NPP, uint32_t)));
ENTRY(NPNetscapeFuncs, unscheduletimer, 400, void (*)(NPP, uint32_t));
ENTRY(NPNetscapeFuncs, popupcontextmenu, 408, NPError (*)(NPP, NPMenu*));
ENTRY(NPNetscapeFuncs, convertpoint, 416,
      NPBool (*)(NPP, double, double, NPCoordinateSpace, double*, double*, NPCoordinateSpace));
ENTRY(NPNetscapeFuncs, handleevent, 424, NPBool (*)(NPP, void*, NPBool));
ENTRY(NPNetscapeFuncs, unfocusinstance, 432, NPBool (*)(NPP, NPFocusDirection));
ENTRY(NPNetscapeFuncs, urlredirectresponse, 440, void (*)(NPP, void*, NPBool));
ENTRY(NPNetscapeFuncs, initasyncsurface, 448,
      NPError (*)(NPP, NPSize*, NPImageFormat, void*, NPAsyncSurface*));
ENTRY(NPNetscapeFuncs, finalizeasyncsurface, 456, NPError (*)(NPP, NPAsyncSurface*));
ENTRY(NPNetscapeFuncs, setcurrentasyncsurface, 464, void (*)(NPP, NPAsyncSurface*, NPRect*));
ENTRY(NPPluginFuncs, size, 0, uint16_t);
ENTRY(NPPluginFuncs, version, 2, uint16_t);
ENTRY(NPPluginFuncs, newp, 8,
      NPError (*)(NPMIMEType, NPP, uint16_t, int16_t, char**, char**, NPSavedData*));
ENTRY(NPPluginFuncs, destroy, 16, NPError (*)(NPP, NPSavedData**));
ENTRY(NPPluginFuncs, setwindow, 24, NPError (*)(NPP, NPWindow*));
ENTRY(NPPluginFuncs, newstream, 32, NPError (*)(NPP, NPMIMEType, NPStream*, NPBool, uint16_t*));
ENTRY(NPPluginFuncs, destroystream, 40, NPError (*)(NPP, NPStream*, NPReason));
ENTRY(NPPluginFuncs, asfile, 48, void (*)(NPP, NPStream*, const char*));
ENTRY(NPPluginFuncs, writeready, 56, int32_t (*)(NPP, NPStream*));
ENTRY(NPPluginFuncs, write, 64, int32_t (*)(NPP, NPStream*, int32_t, int32_t, void*));
ENTRY(NPPluginFuncs, print, 72, void (*)(NPP, NPPrint*));
ENTRY(NPPluginFuncs, event, 80, int16_t (*)(NPP, void*));
ENTRY(NPPluginFuncs, urlnotify, 88, void (*)(NPP, const char*, NPReason, void*));
ENTRY(NPPluginFuncs, javaClass, 96, void*);
ENTRY(NPPluginFuncs, getvalue, 104, NPError (*)(NPP, NPPVariable, void*));
ENTRY(NPPluginFuncs, setvalue, 112, NPError (*)(NPP, NPNVariable, void*));
ENTRY(NPPluginFuncs, gotfocus, 120, NPBool (*)(NPP, NPFocusDirection));
ENTRY(NPPluginFuncs, lostfocus, 128, void (*)(NPP));
ENTRY(NPPluginFuncs, urlredirectnotify, 136, void (*)(NPP, const char*, int32_t, void*));
ENTRY(NPPluginFuncs, clearsitedata, 144, NPError (*)(const char*, uint64_t, uint64_t));
ENTRY(NPPluginFuncs, getsiteswithdata, 152, char** (*)());
ENTRY(NPPluginFuncs, didComposite, 160, void (*)(NPP));

TEST(NpapiHeaders, valueHelpersStoreTheTypeAndTheValue) {
  NPObject object = {};
  NPVariant v;
  BOOLEAN_TO_NPVARIANT(true, v);
  EXPECT_TRUE(NPVARIANT_IS_BOOLEAN(v) && NPVARIANT_TO_BOOLEAN(v));
  INT32_TO_NPVARIANT(-7, v);
  EXPECT_TRUE(NPVARIANT_IS_INT32(v) && NPVARIANT_TO_INT32(v) == -7);
  DOUBLE_TO_NPVARIANT(0.5, v);
  EXPECT_TRUE(NPVARIANT_IS_DOUBLE(v) && NPVARIANT_TO_DOUBLE(v) == 0.5);
  STRINGZ_TO_NPVARIANT("text", v);
  EXPECT_TRUE(NPVARIANT_IS_STRING(v) && NPVARIANT_TO_STRING(v).UTF8Length == 4);
  OBJECT_TO_NPVARIANT(&object, v);
  EXPECT_TRUE(NPVARIANT_IS_OBJECT(v) && NPVARIANT_TO_OBJECT(v) == &object);
  NULL_TO_NPVARIANT(v);
  EXPECT_TRUE(NPVARIANT_IS_NULL(v) && !NPVARIANT_IS_OBJECT(v));
  VOID_TO_NPVARIANT(v);
  EXPECT_TRUE(NPVARIANT_IS_VOID(v) && !NPVARIANT_IS_NULL(v));
}
