#include "ovlib/overrno.h"

namespace {

// In the order of the numbers, from OV_EDOCROOT on.
constexpr const char* kTexts[] = {
    "Invalid doc root path",
    "Invalid command or token separator mismatch",
    "Base file/directory name not found in path",
    "File/directory path mismatch",
    "Illegal UTF string",
    "Insufficient buffer space",
    "End or directory reached",
    "Library open/close failed",
    "Library module loading failed",
    "Could not create UUID string",
    "Could not parse xml file for configs",
    "Could not read locale info",
    "Could not compute md5sum",
    "Could not log message",
    "Invalid user name",
    "Parse error inside UAC",
    "No transmitting xfer found",
    "Unimplemented function",
    "Internal error",
    "Reached end",
    "Storage inaccessible",
    "Bad pathname",
};

static_assert(sizeof(kTexts) / sizeof(kTexts[0]) == OV_ELIBRARY_END - OV_EDOCROOT,
              "one text for each of the library's own numbers");

}  // namespace

const char* ov_errno_library_text(int code) {
  return code >= OV_EDOCROOT && code < OV_ELIBRARY_END ? kTexts[code - OV_EDOCROOT] : nullptr;
}
