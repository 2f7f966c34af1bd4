// What the page asks of the plugin object, and the windows that it opens.

#include "browsers/npapi_common/ScriptCall.h"
#include "browsers/npapi_common/ovOrvaneWebPlugin.h"
#include "plugin/src/PlugIn.h"

using ScriptCall::answerText;
using ScriptCall::answerVoid;

namespace {

// `ask` answers a text.
template <typename Ask>
bool query(const char* method, uint32_t argCount, NPVariant* result, Ask ask) {
  ScriptCall::log(method, argCount);
  return argCount == 0 && answerText(ask(), result);
}

// Deliberate: the page does not hear whether the window came.
template <typename Show>
bool display(const char* method, uint32_t argCount, NPVariant* result, Show show) {
  ScriptCall::log(method, argCount);
  if (argCount != 0) {
    return false;
  }
  show();
  return answerVoid(result);
}

}  // namespace

bool ovOrvaneWebPlugin::queryBrowserEngine(const NPVariant*, uint32_t argCount, NPVariant* result) {
  return query("queryBrowserEngine", argCount, result, [this] {
    return _pluginImpl->queryBrowserEngine(Pellion::Web::eNpapiPlugInHostApi);
  });
}

bool ovOrvaneWebPlugin::queryBuildVersion(const NPVariant*, uint32_t argCount, NPVariant* result) {
  return query("queryBuildVersion", argCount, result,
               [this] { return _pluginImpl->queryBuildVersion(); });
}

bool ovOrvaneWebPlugin::queryPluginVersion(const NPVariant*, uint32_t argCount, NPVariant* result) {
  return query("queryPluginVersion", argCount, result,
               [this] { return _pluginImpl->queryPluginVersion(); });
}

bool ovOrvaneWebPlugin::queryVersion(const NPVariant*, uint32_t argCount, NPVariant* result) {
  return query("queryVersion", argCount, result, [this] { return _pluginImpl->queryVersion(); });
}

bool ovOrvaneWebPlugin::queryPellionVersion(const NPVariant*, uint32_t argCount,
                                            NPVariant* result) {
  return query("queryPellionVersion", argCount, result,
               [this] { return _pluginImpl->queryPellionVersion(); });
}

bool ovOrvaneWebPlugin::displayTransferManager(const NPVariant*, uint32_t argCount,
                                               NPVariant* result) {
  return display("displayTransferManager", argCount, result,
                 [this] { _pluginImpl->displayTransferManager(); });
}

bool ovOrvaneWebPlugin::displayAboutWindow(const NPVariant*, uint32_t argCount, NPVariant* result) {
  return display("displayAboutWindow", argCount, result,
                 [this] { _pluginImpl->displayAboutWindow(); });
}

bool ovOrvaneWebPlugin::displayPreferencesWindow(const NPVariant*, uint32_t argCount,
                                                 NPVariant* result) {
  return display("displayPreferencesWindow", argCount, result,
                 [this] { _pluginImpl->displayPreferencesWindow(); });
}
