// The session, the page's own requests, and the checks that a page has to pass.

#include <memory>

#include "ovlib/ovlog.h"
#include "plugin/src/Callback.h"
#include "plugin/src/Constants.h"
#include "plugin/src/HttpRequest.h"
#include "plugin/src/HttpResponse.h"
#include "plugin/src/Json.h"
#include "plugin/src/PathEscaper.h"
#include "plugin/src/Pellion.h"
#include "plugin/src/PlugIn.h"
#include "plugin/src/RequestWorker.h"
#include "plugin/src/TransfersPoller.h"
#include "plugin/src/Utils.h"

namespace Pellion::Web {

namespace {

constexpr char kHostnameMark = '^';
constexpr char kSettings[] = "orvane_pellion_settings";
constexpr char kTransferSpec[] = "transfer_spec";

std::string withDetail(const char* message, const std::string& detail) {
  return std::string(message) + ": " + detail;
}

void logRequest(const char* operation, const std::string& method, const std::string& path,
                const std::string& data) {
  ov_trace("%s\n  method: %s\n  path: %s\n  data: %s", operation, method.c_str(), path.c_str(),
           data.c_str());
}

// The first element of a document's "transfer_specs"; null when there is none.
yajl_val firstTransferSpec(const Json& json) {
  const char* const path[] = {"transfer_specs", nullptr};
  const yajl_val specs = json.get(path);
  return Json::size(specs) > 0 ? Json::element(specs, 0) : nullptr;
}

// True for a download whose destination the page has chosen.
bool choosesDestination(const Json& json, yajl_val spec) {
  const char* const absolutePath[] = {kSettings, "use_absolute_destination_path", nullptr};
  const char* const directionPath[] = {kTransferSpec, "direction", nullptr};
  return json.isTrue(absolutePath, spec) && json.getString(directionPath, spec) == "receive";
}

}  // namespace

std::string PlugIn::initSession(const std::string& appId, const std::string& domain) {
  ov_trace("initSession\n  appId: %s\n  domain: %s", appId.c_str(), domain.c_str());
  if (_sessionInitialized) {
    return Json::createError(kErrorSessionAlreadyInitialized);
  }
  const std::string error = isAppIdValid(appId);
  if (!error.empty()) {
    return error;
  }
  _appId = appId;
  _transfersPoller->setAppId(appId);
  _transfersPoller->start();
  _sessionInitialized = true;
  // Deliberate: the id is not escaped.
  return "{\"app_id\":\"" + appId + "\"}";
}

std::string PlugIn::isAppIdValid(const std::string& appId) const {
  // Deliberate: an id without the mark passes on any page.
  if (_hostname.empty() || appId.empty() || appId[0] != kHostnameMark) {
    return std::string();
  }
  const std::string host = appId.substr(1);
  if (host == _hostname) {
    return std::string();
  }
  ov_err("Hostname validation failed:\n  Expected: %s\n  Got: %s", _hostname.c_str(), host.c_str());
  return Json::createError(withDetail(kErrorBadAppIdHostname, _hostname));
}

std::string PlugIn::isJsonValid(const std::string& json) {
  Json document;
  if (!document.parse(json)) {
    return Json::createError(withDetail(kErrorJsonParse, document.err()));
  }
  const char* const appIdPath[] = {kSettings, "app_id", nullptr};
  const std::string appId = document.getString(appIdPath, nullptr);
  const std::string error = appId.empty() ? std::string() : isAppIdValid(appId);
  if (!error.empty()) {
    return error;
  }
  // Deliberate: later elements are not looked at.
  const yajl_val spec = firstTransferSpec(document);
  if (spec == nullptr) {
    return std::string();
  }
  if (choosesDestination(document, spec)) {
    const char* const rootPath[] = {kTransferSpec, "destination_root", nullptr};
    const std::string root = document.getString(rootPath, spec);
    if (!allowDestRoot(root)) {
      return Json::createError(
          withDetail(kErrorUnauthorizedDownloadPath, PathEscaper::toJsonStr(root, false)));
    }
  }
  _lastSelectedPath.clear();
  return std::string();
}

bool PlugIn::allowDestRoot(const std::string& path) const {
  if (_lastSelectedPath.empty()) {
    return false;
  }
  const std::string wanted = PathEscaper::strReplace(path, "\\", "/");
  // Deliberate: weaker than a comparison of prefixes. Any first character that occurs in the pick
  // will do, and beyond the pick's length only the next character counts.
  if (wanted.size() < _lastSelectedPath.size() || wanted.find_first_of(_lastSelectedPath) != 0) {
    return false;
  }
  return wanted.size() == _lastSelectedPath.size() || wanted[_lastSelectedPath.size()] == '/';
}

void PlugIn::setLastSelectedPath(const std::string& path) {
  _lastSelectedPath = PathEscaper::strReplace(path, "\\", "/");
  ov_trace("setLastSelectedPath() - %s", _lastSelectedPath.c_str());
}

std::string PlugIn::pellionHttpRequest(const std::string& method, const std::string& path,
                                       const std::string& data, HttpResponse** response) {
  logRequest("pellionHttpRequest", method, path, data);
  *response = nullptr;
  const std::string body = data.empty() ? "{}" : data;
  const std::string error = isJsonValid(body);
  if (!error.empty()) {
    return error;
  }
  if (!PellionApp::launch()) {
    return Json::createErrorAndLog(kErrorPellionRequest);
  }
  const std::unique_ptr<HttpRequest> request(
      Utils::createHttpRequest(method, path, body, eContentJson));
  if (!request) {
    return Json::createError(kErrorCreatingHttpRequest);
  }
  *response = request->invoke();
  if (*response == nullptr) {
    return Json::createErrorAndLog(kErrorPellionRequest);
  }
  return std::string();
}

std::string PlugIn::pellionHttpRequestAsync(const std::string& method, const std::string& path,
                                            const std::string& data, Callback* callback) {
  std::unique_ptr<Callback> owned(callback);
  logRequest("pellionHttpRequestAsync", method, path, data);
  const std::string body = data.empty() ? "{}" : data;
  const std::string error = isJsonValid(body);
  if (!error.empty()) {
    return error;
  }
  std::unique_ptr<HttpRequest> request(Utils::createHttpRequest(method, path, body, eContentJson));
  if (!request) {
    return Json::createError(kErrorCreatingHttpRequest);
  }
  request->setCallback(owned.release());
  _requestWorker->addRequest(request.release());
  return std::string();
}

std::string PlugIn::queryPellionVersion() {
  HttpResponse* answered = nullptr;
  const std::string error = pellionHttpRequest(
      HttpRequest::kGetMethod, Utils::apiPath("/pellion/version"),
      "{\"orvane_pellion_settings\":{\"app_id\":\"version request\"}}", &answered);
  const std::unique_ptr<HttpResponse> response(answered);
  if (!error.empty()) {
    return error;
  }
  // Deliberate: the status is not looked at, so the body of an error page counts as the version.
  const std::string& version = response->data();
  return version.empty() ? Json::createError(kErrorPellionVersion) : version;
}

}  // namespace Pellion::Web
