#ifndef BROWSERS_NPAPI_COMMON_SCRIPT_CALL_H_
#define BROWSERS_NPAPI_COMMON_SCRIPT_CALL_H_

#include <string>

#include "npapi/npfunctions.h"

// What the script methods share: their first log line, the checks of their arguments and their
// results.

namespace ScriptCall {

void log(const char* method, uint32_t argCount);

// True when there are at least `wanted` arguments and the first `wanted` of them are strings.
bool startWithStrings(const NPVariant* args, uint32_t argCount, uint32_t wanted);
// True for a string of at least one byte.
bool isNonEmptyString(const NPVariant& variant);

// The result is copied into the browser's memory. Both answer true, which accepts the call.
bool answerText(const std::string& text, NPVariant* result);
bool answerVoid(NPVariant* result);

}  // namespace ScriptCall

// A boolean, or one of the texts "true" and "false".
bool npvariantIsBoolean(const NPVariant& variant);
// A boolean's value; true for the text "true", false for anything else.
bool npvariantToBoolean(const NPVariant& variant);

#endif  // BROWSERS_NPAPI_COMMON_SCRIPT_CALL_H_
