#ifndef NPAPI_NPTYPES_H_
#define NPAPI_NPTYPES_H_

#include <cstdint>

// The elementary types, result codes and version numbers of the browser plugin interface, as an
// x86-64 Linux browser lays them out.

using NPBool = unsigned char;
using NPError = int16_t;
using NPReason = int16_t;
using NPMIMEType = char*;
using NPRegion = void*;

struct NPRect {
  uint16_t top;
  uint16_t left;
  uint16_t bottom;
  uint16_t right;
};

struct NPSize {
  int32_t width;
  int32_t height;
};

constexpr int NP_VERSION_MAJOR = 0;
constexpr int NP_VERSION_MINOR = 29;

constexpr NPError NPERR_BASE = 0;
constexpr NPError NPERR_NO_ERROR = NPERR_BASE;
constexpr NPError NPERR_GENERIC_ERROR = NPERR_BASE + 1;
constexpr NPError NPERR_INVALID_INSTANCE_ERROR = NPERR_BASE + 2;
constexpr NPError NPERR_INVALID_FUNCTABLE_ERROR = NPERR_BASE + 3;
constexpr NPError NPERR_MODULE_LOAD_FAILED_ERROR = NPERR_BASE + 4;
constexpr NPError NPERR_OUT_OF_MEMORY_ERROR = NPERR_BASE + 5;
constexpr NPError NPERR_INVALID_PLUGIN_ERROR = NPERR_BASE + 6;
constexpr NPError NPERR_INVALID_PLUGIN_DIR_ERROR = NPERR_BASE + 7;
constexpr NPError NPERR_INCOMPATIBLE_VERSION_ERROR = NPERR_BASE + 8;
constexpr NPError NPERR_INVALID_PARAM = NPERR_BASE + 9;
constexpr NPError NPERR_INVALID_URL = NPERR_BASE + 10;
constexpr NPError NPERR_FILE_NOT_FOUND = NPERR_BASE + 11;
constexpr NPError NPERR_NO_DATA = NPERR_BASE + 12;
constexpr NPError NPERR_STREAM_NOT_SEEKABLE = NPERR_BASE + 13;
constexpr NPError NPERR_TIME_RANGE_NOT_SUPPORTED = NPERR_BASE + 14;
constexpr NPError NPERR_MALFORMED_SITE = NPERR_BASE + 15;

constexpr NPReason NPRES_BASE = 0;
constexpr NPReason NPRES_DONE = NPRES_BASE;
constexpr NPReason NPRES_NETWORK_ERR = NPRES_BASE + 1;
constexpr NPReason NPRES_USER_BREAK = NPRES_BASE + 2;

// The interface version (minor number) that brought each feature.
enum : uint8_t {
  NPVERS_HAS_STREAMOUTPUT = 8,
  NPVERS_HAS_NOTIFICATION = 9,
  NPVERS_HAS_LIVECONNECT = 9,
  NPVERS_68K_HAS_LIVECONNECT = 11,
  NPVERS_HAS_WINDOWLESS = 11,
  NPVERS_HAS_XPCONNECT_SCRIPTING = 13,
  NPVERS_HAS_NPRUNTIME_SCRIPTING = 14,
  NPVERS_HAS_FORM_VALUES = 15,
  NPVERS_HAS_POPUPS_ENABLED_STATE = 16,
  NPVERS_HAS_RESPONSE_HEADERS = 17,
  NPVERS_HAS_NPOBJECT_ENUM = 18,
  NPVERS_HAS_PLUGIN_THREAD_ASYNC_CALL = 19,
  NPVERS_HAS_ALL_NETWORK_STREAMS = 20,
  NPVERS_HAS_URL_AND_AUTH_INFO = 21,
  NPVERS_HAS_PRIVATE_MODE = 22,
  NPVERS_MACOSX_HAS_COCOA_EVENTS = 23,
  NPVERS_HAS_ADVANCED_KEY_HANDLING = 25,
  NPVERS_HAS_URL_REDIRECT_HANDLING = 26,
  NPVERS_HAS_CLEAR_SITE_DATA = 27
};

#endif  // NPAPI_NPTYPES_H_
