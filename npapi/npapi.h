#ifndef NPAPI_NPAPI_H_
#define NPAPI_NPAPI_H_

#include "npapi/nptypes.h"

// The records and variables that a browser and a plugin instance exchange. Everything here is used
// on the browser's main thread; who owns a record is the owner of the call that passes it.

// One plugin instance; `pdata` belongs to the plugin, `ndata` to the browser.
struct NPP_t {
  void* pdata;
  void* ndata;
};
using NPP = NPP_t*;

struct NPStream {
  void* pdata;
  void* ndata;
  const char* url;
  uint32_t end;
  uint32_t lastmodified;
  void* notifyData;
  const char* headers;
};

struct NPByteRange {
  int32_t offset;
  uint32_t length;
  NPByteRange* next;
};

struct NPSavedData {
  int32_t len;
  void* buf;
};

enum NPWindowType : uint32_t { NPWindowTypeWindow = 1, NPWindowTypeDrawable };

// On Linux `window` is an X window's number, and `ws_info` an NPSetWindowCallbackStruct or null.
struct NPWindow {
  void* window;
  int32_t x;
  int32_t y;
  uint32_t width;
  uint32_t height;
  NPRect clipRect;
  void* ws_info;
  NPWindowType type;
};

enum { NP_SETWINDOW = 1, NP_PRINT };

// The X11 types stand as what they are to the interface, so that no X11 header is needed: `display`
// is a Display*, `visual` a Visual*, `colormap` a Colormap.
struct NPSetWindowCallbackStruct {
  int32_t type;
  void* display;
  void* visual;
  unsigned long colormap;
  unsigned int depth;
};

// Passed through only; nothing here looks inside.
union _XEvent;
using NPEvent = _XEvent;
struct NPPrint;
struct NPMenu;
struct NPAsyncSurface;
enum NPCoordinateSpace : uint32_t;
enum NPFocusDirection : uint32_t;
enum NPImageFormat : uint32_t;

enum : uint16_t { NP_EMBED = 1, NP_FULL = 2 };
enum : uint16_t { NP_NORMAL = 1, NP_SEEK = 2, NP_ASFILE = 3, NP_ASFILEONLY = 4 };
constexpr int32_t NP_MAXREADY = 0x7FFFFFFF;

constexpr int NP_ABI_GCC3_MASK = 0x10000000;
constexpr int NP_ABI_MASK = NP_ABI_GCC3_MASK;

// What a browser answers about itself.
enum NPNVariable : uint32_t {
  NPNVxDisplay = 1,
  NPNVxtAppContext = 2,
  NPNVnetscapeWindow = 3,
  NPNVjavascriptEnabledBool = 4,
  NPNVasdEnabledBool = 5,
  NPNVisOfflineBool = 6,
  NPNVserviceManager = 10 | NP_ABI_MASK,
  NPNVDOMElement = 11 | NP_ABI_MASK,
  NPNVDOMWindow = 12 | NP_ABI_MASK,
  NPNVToolkit = 13 | NP_ABI_MASK,
  NPNVSupportsXEmbedBool = 14,
  NPNVWindowNPObject = 15,
  NPNVPluginElementNPObject = 16,
  NPNVSupportsWindowless = 17,
  NPNVprivateModeBool = 18,
  NPNVsupportsAdvancedKeyHandling = 21,
  NPNVdocumentOrigin = 22,
  NPNVCSSZoomFactor = 23,
  NPNVpluginDrawingModel = 1000,
  NPNVsupportsAsyncBitmapSurfaceBool = 2007,
  NPNVmuteAudioBool = 4000
};

// What a plugin answers about itself.
enum NPPVariable : uint32_t {
  NPPVpluginNameString = 1,
  NPPVpluginDescriptionString = 2,
  NPPVpluginWindowBool = 3,
  NPPVpluginTransparentBool = 4,
  NPPVjavaClass = 5,
  NPPVpluginWindowSize = 6,
  NPPVpluginTimerInterval = 7,
  NPPVpluginScriptableInstance = 10 | NP_ABI_MASK,
  NPPVpluginScriptableIID = 11,
  NPPVjavascriptPushCallerBool = 12,
  NPPVpluginKeepLibraryInMemory = 13,
  NPPVpluginNeedsXEmbed = 14,
  NPPVpluginScriptableNPObject = 15,
  NPPVformValue = 16,
  NPPVpluginUrlRequestsDisplayedBool = 17,
  NPPVpluginWantsAllNetworkStreams = 18,
  NPPVpluginNativeAccessibleAtkPlugId = 19,
  NPPVpluginCancelSrcStream = 20,
  NPPVsupportsAdvancedKeyHandling = 21,
  NPPVpluginUsesDOMForCursorBool = 22,
  NPPVpluginDrawingModel = 1000,
  NPPVpluginIsPlayingAudio = 4000
};

enum NPNToolkitType : uint32_t { NPNVGtk12 = 1, NPNVGtk2 };
enum NPNURLVariable : uint32_t { NPNURLVCookie = 501, NPNURLVProxy };

#endif  // NPAPI_NPAPI_H_
