#include "plugin/src/Utils.h"

#include <memory>

#include "ovlib/ovlog.h"
#include "ovlib/ovplatform.h"
#include "plugin/src/FileSystem.h"
#include "plugin/src/HttpRequest.h"
#include "plugin/src/Pellion.h"
#include "plugin/src/Url.h"

namespace Pellion::Web::Utils {

namespace {

constexpr char kContentTypeHeader[] = "Content-Type";
constexpr char kContentTypeJson[] = "application/vnd.orvane.xferreq+json";
constexpr char kContentTypeXml[] = "application/vnd.orvane.xferreq+xml";
constexpr int kLogDetail = 3;

bool kLogInitialized = false;

}  // namespace

HttpRequest* createHttpRequest(ContentType_e type) {
  const Url url = PellionApp::url();
  if (!url.valid()) {
    return nullptr;
  }
  auto request = std::make_unique<HttpRequest>(url.host(), url.port(0));
  // Deliberate: also a request without a body, or with a page's own, carries one of these two
  // types.
  request->addHeader(kContentTypeHeader, type == eContentXml ? kContentTypeXml : kContentTypeJson);
  return request.release();
}

HttpRequest* createHttpRequest(const std::string& method, const std::string& uri,
                               const std::string& data, ContentType_e type) {
  std::unique_ptr<HttpRequest> request(createHttpRequest(type));
  if (request) {
    request->setUri(uri);
    request->setMethod(method);
    request->appendData(data);
  }
  return request.release();
}

std::string apiPath(const std::string& path) {
  return std::string("/v") + kPellionApiVersion + path;
}

std::string errorCodeToStr(int code) {
  char text[256] = "";
  ov_platform_errstr(code, text, sizeof(text));
  return text;
}

void logInit() {
  if (kLogInitialized) {
    return;
  }
  kLogInitialized = true;
  ov_log_init(OV_LOG_FILE, FileSystem::logPath().c_str());
  ov_dbg_set(kLogDetail);
  ov_dbg_set_all(kLogDetail);
}

void logCleanup() {
  if (kLogInitialized) {
    kLogInitialized = false;
    ov_log_cleanup();
  }
}

std::string textAsLogFormat(const std::string& text) {
  std::string plain;
  plain.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    plain += text[i];
    if (text[i] == '%' && i + 1 < text.size() && text[i + 1] == '%') {
      ++i;
    }
  }
  return plain;
}

// Deliberate: the text counts as a format, so that "%%" in it comes out as "%".
void logException(const std::exception& e) {
  ov_err("%s", textAsLogFormat(e.what()).c_str());
}

void logException(const std::string& prefix, const std::exception& e) {
  ov_err("%s", textAsLogFormat(prefix + ": " + e.what()).c_str());
}

// Deliberate: a quote or backslash in an element makes the array malformed.
std::string toJsonStr(const std::vector<std::string>& list) {
  std::string json = "[";
  for (const std::string& element : list) {
    json += json.size() > 1 ? ",\"" : "\"";
    json += element + "\"";
  }
  return json + "]";
}

bool isSaveDialogOpen(void*) {
  return false;
}

void closeSaveDialog(void*) {}

std::string setCurrentDirToUserHome() {
  return std::string();
}

}  // namespace Pellion::Web::Utils
