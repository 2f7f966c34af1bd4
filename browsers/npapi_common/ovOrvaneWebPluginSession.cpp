// The page's session, requests and transfers.
//
// Deliberate: initSession and the two requests take any further arguments and leave them unread;
// the transfer methods answer void whatever became of the transfer.

#include <exception>
#include <memory>

#include "browsers/npapi_common/RequestCallback.h"
#include "browsers/npapi_common/ScriptCall.h"
#include "browsers/npapi_common/ovOrvaneWebPlugin.h"
#include "browsers/npapi_common/ovOrvaneWebView.h"
#include "browsers/npapi_common/ovUtility.h"
#include "plugin/src/Constants.h"
#include "plugin/src/HttpResponse.h"
#include "plugin/src/Json.h"
#include "plugin/src/PlugIn.h"

using Pellion::Web::HttpResponse;
using Pellion::Web::Json;
using ScriptCall::answerText;
using ScriptCall::answerVoid;
using ScriptCall::isNonEmptyString;
using ScriptCall::startWithStrings;
using ScriptValues::textOf;

namespace {

bool isOneText(const NPVariant* args, uint32_t argCount) {
  return argCount == 1 && isNonEmptyString(args[0]);
}

}  // namespace

bool ovOrvaneWebPlugin::initSession(const NPVariant* args, uint32_t argCount, NPVariant* result) {
  ScriptCall::log("initSession", argCount);
  if (!startWithStrings(args, argCount, 2)) {
    return false;
  }
  std::string answer;
  try {
    answer = _pluginImpl->initSession(textOf(args[0]), textOf(args[1]));
  } catch (const std::exception& e) {
    answer = Json::createErrorAndLog(e, Pellion::Web::kErrorSessionInit);
  }
  return answerText(answer, result);
}

bool ovOrvaneWebPlugin::pellionHttpRequest(const NPVariant* args, uint32_t argCount,
                                           NPVariant* result) {
  ScriptCall::log("pellionHttpRequest", argCount);
  if (!startWithStrings(args, argCount, 3)) {
    return false;
  }
  HttpResponse* answered = nullptr;
  const std::string error =
      _pluginImpl->pellionHttpRequest(textOf(args[0]), textOf(args[1]), textOf(args[2]), &answered);
  const std::unique_ptr<HttpResponse> response(answered);
  return answerText(error.empty() && response ? response->data() : error, result);
}

bool ovOrvaneWebPlugin::pellionHttpRequestAsync(const NPVariant* args, uint32_t argCount,
                                                NPVariant* result) {
  ScriptCall::log("pellionHttpRequestAsync", argCount);
  if (argCount < 4 || !startWithStrings(args, argCount, 3) || !NPVARIANT_IS_OBJECT(args[3])) {
    return false;
  }
  const std::string method = textOf(args[0]);
  const std::string path = textOf(args[1]);
  const std::string data = textOf(args[2]);
  auto callback =
      std::make_unique<RequestCallback>(_instance, _owner, NPVARIANT_TO_OBJECT(args[3]));
  const std::string error =
      _pluginImpl->pellionHttpRequestAsync(method, path, data, callback.release());
  if (!error.empty()) {
    return answerText(error, result);
  }
  NULL_TO_NPVARIANT(*result);
  return true;
}

bool ovOrvaneWebPlugin::startDownload(const NPVariant* args, uint32_t argCount, NPVariant* result) {
  ScriptCall::log("startDownload", argCount);
  if (!isOneText(args, argCount)) {
    return false;
  }
  _pluginImpl->startDownload(textOf(args[0]));
  return answerVoid(result);
}

bool ovOrvaneWebPlugin::startDownloadToPath(const NPVariant* args, uint32_t argCount,
                                            NPVariant* result) {
  ScriptCall::log("startDownloadToPath", argCount);
  if (argCount != 2 || !isNonEmptyString(args[0]) || !NPVARIANT_IS_STRING(args[1])) {
    return false;
  }
  _pluginImpl->startDownloadToPath(textOf(args[0]), textOf(args[1]));
  return answerVoid(result);
}

bool ovOrvaneWebPlugin::startUploadToURL(const NPVariant* args, uint32_t argCount,
                                         NPVariant* result) {
  ScriptCall::log("startUploadToURL", argCount);
  if (argCount != 2 || !isNonEmptyString(args[0]) || !isNonEmptyString(args[1])) {
    return false;
  }
  _pluginImpl->startUploadToURL(textOf(args[0]), textOf(args[1]));
  return answerVoid(result);
}

bool ovOrvaneWebPlugin::startListDownloadToPath(const NPVariant* args, uint32_t argCount,
                                                NPVariant* result) {
  ScriptCall::log("startListDownloadToPath", argCount);
  // Deliberate: an empty destination is accepted, unlike startListUploadToURL's.
  if (argCount != 1 || !NPVARIANT_IS_STRING(args[0])) {
    return false;
  }
  _pluginImpl->startListDownloadToPath(textOf(args[0]));
  return answerVoid(result);
}

bool ovOrvaneWebPlugin::startListUploadToURL(const NPVariant* args, uint32_t argCount,
                                             NPVariant* result) {
  ScriptCall::log("startListUploadToURL", argCount);
  if (!isOneText(args, argCount)) {
    return false;
  }
  _pluginImpl->startListUploadToURL(textOf(args[0]));
  return answerVoid(result);
}

bool ovOrvaneWebPlugin::addToDownloadList(const NPVariant* args, uint32_t argCount,
                                          NPVariant* result) {
  ScriptCall::log("addToDownloadList", argCount);
  if (!isOneText(args, argCount)) {
    return false;
  }
  _pluginImpl->addToDownloadList(textOf(args[0]));
  return answerVoid(result);
}

bool ovOrvaneWebPlugin::addToUploadList(const NPVariant* args, uint32_t argCount,
                                        NPVariant* result) {
  ScriptCall::log("addToUploadList", argCount);
  if (!isOneText(args, argCount)) {
    return false;
  }
  _pluginImpl->addToUploadList(textOf(args[0]));
  return answerVoid(result);
}

bool ovOrvaneWebPlugin::clearDownloadList(const NPVariant*, uint32_t argCount, NPVariant* result) {
  ScriptCall::log("clearDownloadList", argCount);
  if (argCount != 0) {
    return false;
  }
  _pluginImpl->clearDownloadList();
  return answerVoid(result);
}

bool ovOrvaneWebPlugin::clearUploadList(const NPVariant*, uint32_t argCount, NPVariant* result) {
  ScriptCall::log("clearUploadList", argCount);
  if (argCount != 0) {
    return false;
  }
  _pluginImpl->clearUploadList();
  return answerVoid(result);
}

bool ovOrvaneWebPlugin::handleDrop(const NPVariant*, uint32_t argCount, NPVariant* result) {
  ScriptCall::log("handleDrop", argCount);
  if (argCount != 0 || !_view) {
    return false;
  }
  _view->handleDrop();
  return answerVoid(result);
}
