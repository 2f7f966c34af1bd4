#ifndef BROWSERS_NPAPI_COMMON_OV_UTILITY_H_
#define BROWSERS_NPAPI_COMMON_OV_UTILITY_H_

#include <string>

#include "npapi/npfunctions.h"

// Conversions between script values and plain texts, and two questions to the page. Main thread
// only. Script strings live in the browser's memory, plain copies in the system's; each function
// says which.

// The module's copy of the browser's function table. Written once, when the module is initialised;
// every call into the browser goes through it. Other threads may read `pluginthreadasynccall` only.
extern NPNetscapeFuncs g_NPNFuncs;

// Stores a copy of `text` in the browser's memory; it belongs to whoever receives the variant. A
// null text becomes a string without characters, and so does one for which the browser has no
// memory.
void OW_CharPtrToNPStringVariant(const char* text, NPVariant* out);

// A terminated copy in the system's memory; the caller frees it with free(). Throws
// std::bad_alloc when there is none.
char* OW_NPStringToCharPtr(const NPString* s);

namespace ScriptValues {

// A string variant's text up to its first zero byte. Throws std::bad_alloc.
std::string textOf(const NPVariant& variant);

// Gives memory back to the browser, if it takes any. Null is allowed.
void freeBrowserMemory(const void* memory);

}  // namespace ScriptValues

// The host name of the page's address, "localhost" when it has none. Writes it to the log.
std::string OW_GetPageHostname(NPP instance);

// The object's text by the page's JSON.stringify; it belongs to the browser's memory. Without a
// string result, a null text of length 0.
// Deliberate: nothing here calls it; it completes the set.
NPString OW_JsonToString(NPP instance, NPObject* object);

// Always 0 here: the question only arises on another platform.
NPError OW_CocoaEventsSupportedCheck(NPP instance);

#endif  // BROWSERS_NPAPI_COMMON_OV_UTILITY_H_
