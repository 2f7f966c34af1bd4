#ifndef PLUGIN_SRC_PLUGIN_H_
#define PLUGIN_SRC_PLUGIN_H_

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Pellion::Web {

class Callback;
class HttpResponse;
class RequestWorker;
class TransfersPoller;

// The browser interface that hosts the plugin.
enum PlugInHostApi_e {
  eNpapiPlugInHostApi = 0,
  eActiveXPlugInHostApi = 1,
  eWebKitPlugInHostApi = 2
};

// The browser-independent heart of one plugin instance: its session, its requests and transfers,
// and the user's permission for download destinations. Owns the request worker (runs from init())
// and the transfers poller (runs from initSession()); the destructor waits for both. Used by the
// browser's main thread. Operations that answer a string answer an empty one for success and else
// an error document, unless they say otherwise.
class PlugIn {
 public:
  PlugIn();
  ~PlugIn();
  PlugIn(const PlugIn&) = delete;
  PlugIn& operator=(const PlugIn&) = delete;

  // Launches the local application (blocks for up to the time-out) and starts the request worker.
  // Throws SystemException when there is no thread for it.
  void init(int launchTimeoutMs);
  // Takes what concerns the core from the embed parameters; a missing one is entered as empty.
  bool configure(std::map<std::string, std::string>& parameters);
  // `text` is how the browser identifies itself.
  void setHostBrowser(const std::string& text);
  const std::string& getHostBrowser() const { return _hostBrowser; }
  void setHostname(const std::string& hostname);
  void setName(const std::string& name);
  const std::string& getName() const { return _name; }
  // Borrowed; lives as long as this object.
  TransfersPoller* getTransfersPoller() const { return _transfersPoller.get(); }

  // On success the id as a JSON object. Works once. Throws SystemException when there is no thread
  // for the poller.
  std::string initSession(const std::string& appId, const std::string& domain);
  // Blocks for a launch and the request. On success `*response` is what the application answered
  // (caller deletes); it is null otherwise. Empty data is sent as "{}".
  std::string pellionHttpRequest(const std::string& method, const std::string& path,
                                 const std::string& data, HttpResponse** response);
  // Queues the request. Takes ownership of the callback, also when it fails: the callback is then
  // deleted without being called.
  std::string pellionHttpRequestAsync(const std::string& method, const std::string& path,
                                      const std::string& data, Callback* callback);
  // Checks an id that is bound to a host name against that of the page.
  std::string isAppIdValid(const std::string& appId) const;
  // Checks a body from the page. Accepting one with a transfer uses up the user's pick.
  std::string isJsonValid(const std::string& json);
  // True when the user's last pick covers the path.
  bool allowDestRoot(const std::string& path) const;
  void setLastSelectedPath(const std::string& path);

  // Each is true when the local application took the transfer. They block for a launch and the
  // request, and use up the user's pick.
  bool startDownload(const std::string& source);
  bool startDownloadToPath(const std::string& source, const std::string& destination);
  bool startListDownloadToPath(const std::string& destination);
  bool startUploadToURL(const std::string& source, const std::string& destinationUrl);
  bool startListUploadToURL(const std::string& destinationUrl);
  bool uploadDroppedFiles(const std::vector<std::string>& paths);
  // The common workers. An empty destination of a download lets the application choose and needs no
  // pick. Icon, link capacity and the last flag have no effect on Linux.
  bool download(const std::vector<std::string>& sources, const std::string& destination,
                const std::string& icon, int linkCapacity, bool applicationChooses);
  bool upload(const std::vector<std::string>& sources, const std::string& destinationUrl,
              const std::string& icon, int linkCapacity);
  void addToDownloadList(const std::string& path);
  void addToUploadList(const std::string& path);
  void clearDownloadList();
  void clearUploadList();

  // Each is true when the local application answered.
  bool displayTransferManager();
  bool displayAboutWindow();
  bool displayPreferencesWindow();

  std::string queryBrowserEngine(PlugInHostApi_e api) const;
  std::string queryBuildVersion() const;
  std::string queryPluginVersion() const;
  std::string queryVersion() const;
  // On success what the local application answered.
  std::string queryPellionVersion();

 private:
  std::string _appId;
  std::vector<std::string> _downloadList;
  std::string _hostBrowser;
  std::string _hostname;
  std::string _lastSelectedPath;  // the user's pick, with forward slashes
  std::unique_ptr<RequestWorker> _requestWorker;
  bool _sessionInitialized = false;
  std::unique_ptr<TransfersPoller> _transfersPoller;
  std::vector<std::string> _uploadList;
  std::string _name;
  std::string _icon;
  int _linkCapacity = 0;
  std::string _dropUploadUrl;
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_PLUGIN_H_
