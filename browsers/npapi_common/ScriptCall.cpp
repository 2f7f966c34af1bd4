#include "browsers/npapi_common/ScriptCall.h"

#include <algorithm>

#include "browsers/npapi_common/ovUtility.h"
#include "ovlib/ovlog.h"

using ScriptValues::textOf;

void ScriptCall::log(const char* method, uint32_t argCount) {
  ov_trace("%s(): argCount=%u", method, argCount);
}

bool ScriptCall::startWithStrings(const NPVariant* args, uint32_t argCount, uint32_t wanted) {
  return argCount >= wanted && std::all_of(args, args + wanted, NPVARIANT_IS_STRING);
}

bool ScriptCall::isNonEmptyString(const NPVariant& variant) {
  return NPVARIANT_IS_STRING(variant) && NPVARIANT_TO_STRING(variant).UTF8Length > 0;
}

bool ScriptCall::answerText(const std::string& text, NPVariant* result) {
  OW_CharPtrToNPStringVariant(text.c_str(), result);
  return true;
}

bool ScriptCall::answerVoid(NPVariant* result) {
  VOID_TO_NPVARIANT(*result);
  return true;
}

bool npvariantIsBoolean(const NPVariant& variant) {
  if (NPVARIANT_IS_STRING(variant)) {
    const std::string text = textOf(variant);
    return text == "true" || text == "false";
  }
  return NPVARIANT_IS_BOOLEAN(variant);
}

bool npvariantToBoolean(const NPVariant& variant) {
  if (NPVARIANT_IS_BOOLEAN(variant)) {
    return NPVARIANT_TO_BOOLEAN(variant);
  }
  return NPVARIANT_IS_STRING(variant) && textOf(variant) == "true";
}
