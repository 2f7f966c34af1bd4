#ifndef BROWSERS_NPAPI_COMMON_OV_ORVANE_WEB_PLUGIN_H_
#define BROWSERS_NPAPI_COMMON_OV_ORVANE_WEB_PLUGIN_H_

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "browsers/npapi_common/NPObjectRef.h"
#include "browsers/npapi_common/OpenDialogMark.h"
#include "browsers/npapi_common/PendingHandOvers.h"
#include "browsers/npapi_common/ovIOrvaneWebViewDelegate.h"
#include "npapi/npfunctions.h"

namespace Pellion::Web {
class FileDialog;
class OneShotManager;
class PlugIn;
}  // namespace Pellion::Web

class TransferEventHandler;
class ovOrvaneWebView;
struct OWScriptObject;

// What becomes of files that are dropped onto the plugin's area.
enum DropMode_e { eNoneDropMode = 0, eUploadDropMode = 1, eCallbackDropMode = 2 };

// One embed element: what its page can call and what its browser calls back. Owns the client core,
// the event handler, the drop view and all holds on page objects. Browser's main thread only. Any
// call that reaches the page, shows a dialog or asks the browser for an address or its window may
// end with this object destroyed.
class ovOrvaneWebPlugin : public ovIOrvaneWebViewDelegate {
 public:
  // Throws a standard exception, with nothing left running, when the core cannot start. Blocks for
  // up to the launch time-out. A missing parameter is entered as empty.
  ovOrvaneWebPlugin(NPP instance, std::map<std::string, std::string>& params);
  ovOrvaneWebPlugin(const ovOrvaneWebPlugin&) = delete;
  ovOrvaneWebPlugin& operator=(const ovOrvaneWebPlugin&) = delete;

  void doDrop(std::vector<std::string> paths) override;
  // Waits for the core's threads. Afterwards nothing posted by them reaches the page any more.
  ~ovOrvaneWebPlugin() override;
  // With one reference more, for the caller. Null when the browser made none.
  virtual NPObject* objectForWebScript();
  virtual bool createStream(NPMIMEType type, NPStream* stream, NPBool seekable, uint16_t* stype);
  virtual bool destroyStream(NPStream* stream, NPReason reason);
  virtual int16_t handleEvent(void* event);
  // The number of bytes taken, or -1 to refuse the stream.
  virtual int32_t receiveOnStream(NPStream* stream, int32_t offset, int32_t len, void* buffer);
  virtual bool setWindow(NPWindow* window, NPP instance);

  void streamAsFile(NPStream* stream, const char* fname);
  void urlNotify(const char* url, NPReason reason);

  // The browser's native window; 0 when it has none to name.
  unsigned long getBrowserWindow();
  // Both borrowed; they live as long as this object.
  Pellion::Web::OneShotManager* getOneShotManager() const { return _oneShotManager.get(); }
  Pellion::Web::PlugIn* getPlugin() const { return _pluginImpl.get(); }

  // Script properties. An object that a getter answers carries a reference for the browser.
  bool getName(NPVariant* result);
  bool setName(const NPVariant* value);
  bool getDropObserver(NPVariant* result);
  bool setDropObserver(const NPVariant* value);
  bool getEventHandler(NPVariant* result);
  bool setEventHandler(const NPVariant* value);

  // Script methods. False refuses the arguments and leaves the result as it is.
  bool queryBrowserEngine(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool queryBuildVersion(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool queryPluginVersion(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool queryVersion(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool queryPellionVersion(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool displayTransferManager(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool displayAboutWindow(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool displayPreferencesWindow(const NPVariant* args, uint32_t argCount, NPVariant* result);

  bool initSession(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool pellionHttpRequest(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool pellionHttpRequestAsync(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool startDownload(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool startDownloadToPath(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool startUploadToURL(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool startListDownloadToPath(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool startListUploadToURL(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool addToDownloadList(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool addToUploadList(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool clearDownloadList(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool clearUploadList(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool handleDrop(const NPVariant* args, uint32_t argCount, NPVariant* result);

  bool runOpenFileDialog(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool runOpenFolderDialog(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool runSaveFileDialog(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool runOpenFileDialogAsync(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool runOpenFolderDialogAsync(const NPVariant* args, uint32_t argCount, NPVariant* result);
  bool runSaveFileDialogAsync(const NPVariant* args, uint32_t argCount, NPVariant* result);

 private:
  using DialogMaker = std::function<std::unique_ptr<Pellion::Web::FileDialog>()>;
  struct DialogKind;

  void initCore(std::map<std::string, std::string>& params);
  void initDropArea(std::map<std::string, std::string>& params);
  void initScripting();
  void cleanup();

  void notifyDropObserver(const std::vector<std::string>& paths);

  bool isDialogOpen() const;
  // Null when this object has gone while the browser was asked for its window.
  std::unique_ptr<Pellion::Web::FileDialog> prepareDialog(const DialogKind& kind,
                                                          const DialogMaker& make);
  // The picked paths; none after an error, which is logged, or when this object has gone meanwhile.
  std::vector<std::string> showDialog(const DialogKind& kind, const DialogMaker& make);
  // Sets the result to null, or to an error document.
  void scheduleDialog(const DialogKind& kind, const DialogMaker& make, const NPVariant& callback,
                      NPVariant* result);

  // The instance that last opened a save dialog, while it lives.
  static ovOrvaneWebPlugin* kLastDialogOpener;

  const NPP _instance;
  const PendingHandOvers::Owner _owner;  // this instance among the pending hand-overs
  std::shared_ptr<const void> _life = std::make_shared<char>();  // expires with this object
  std::unique_ptr<Pellion::Web::PlugIn> _pluginImpl;
  std::unique_ptr<Pellion::Web::OneShotManager> _oneShotManager;
  std::unique_ptr<TransferEventHandler> _transferEventHandler;
  std::string _image;  // address of the drop area's picture; empty for none
  DropMode_e _dropMode = eNoneDropMode;
  bool _dropAllowDirectories = false;
  bool _dropAllowMultiple = false;
  std::unique_ptr<ovOrvaneWebView> _view;
  uint8_t* _imageBuffer = nullptr;  // what has arrived of the picture; malloc
  uint32_t _imageBufferLen = 0;
  NPClass* _scriptObjectClass = nullptr;
  OWScriptObject* _scriptObject = nullptr;
  NPBool _cocoaEventsSupport = 0;  // never set here
  NPObjectRef _dropObserver;
  NPObjectRef _eventHandler;
  OpenDialogMark::Count _openDialogs = std::make_shared<int>(0);
};

#endif  // BROWSERS_NPAPI_COMMON_OV_ORVANE_WEB_PLUGIN_H_
