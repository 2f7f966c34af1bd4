// Downloads and uploads.

#include "ovlib/ovlog.h"
#include "plugin/src/Constants.h"
#include "plugin/src/PathEscaper.h"
#include "plugin/src/PlugIn.h"
#include "plugin/src/Transfer.h"

namespace Pellion::Web {

bool PlugIn::startDownload(const std::string& source) {
  return download({source}, std::string(), _icon, _linkCapacity, true);
}

bool PlugIn::startDownloadToPath(const std::string& source, const std::string& destination) {
  return download({source}, destination, _icon, _linkCapacity, false);
}

bool PlugIn::startListDownloadToPath(const std::string& destination) {
  return download(_downloadList, destination, _icon, _linkCapacity, false);
}

bool PlugIn::startUploadToURL(const std::string& source, const std::string& destinationUrl) {
  return upload({source}, destinationUrl, _icon, _linkCapacity);
}

bool PlugIn::startListUploadToURL(const std::string& destinationUrl) {
  return upload(_uploadList, destinationUrl, _icon, _linkCapacity);
}

bool PlugIn::uploadDroppedFiles(const std::vector<std::string>& paths) {
  return upload(paths, _dropUploadUrl, _icon, _linkCapacity);
}

bool PlugIn::download(const std::vector<std::string>& sources, const std::string& destination,
                      const std::string&, int, bool) {
  ov_trace("Plugin::download() to %s", destination.c_str());
  Transfer transfer;
  // Deliberate: as the page wrote them, also local paths, while those of an upload become file
  // URLs.
  transfer.setSource(sources);
  if (!destination.empty()) {
    if (!allowDestRoot(destination)) {
      ov_err("%s: %s", kErrorUnauthorizedDownloadPath, destination.c_str());
      return false;
    }
    ov_log("Accepted download to %s (user selected %s)", destination.c_str(),
           _lastSelectedPath.c_str());
    transfer.setDestination(PathEscaper::toFileUrl(destination));
  }
  _lastSelectedPath.clear();
  return transfer.request();
}

bool PlugIn::upload(const std::vector<std::string>& sources, const std::string& destinationUrl,
                    const std::string&, int) {
  ov_trace("Plugin::upload()");
  _lastSelectedPath.clear();
  std::vector<std::string> urls;
  urls.reserve(sources.size());
  for (const std::string& source : sources) {
    urls.push_back(PathEscaper::toFileUrl(source));
  }
  Transfer transfer;
  transfer.setSource(urls);
  transfer.setDestination(destinationUrl);
  return transfer.request();
}

void PlugIn::addToDownloadList(const std::string& path) {
  _downloadList.push_back(path);
}

void PlugIn::addToUploadList(const std::string& path) {
  _uploadList.push_back(path);
}

void PlugIn::clearDownloadList() {
  _downloadList.clear();
}

void PlugIn::clearUploadList() {
  _uploadList.clear();
}

}  // namespace Pellion::Web
