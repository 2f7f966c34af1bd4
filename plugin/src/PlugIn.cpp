#include "plugin/src/PlugIn.h"

#include <algorithm>
#include <exception>

#include "ovlib/overrno.h"
#include "ovlib/ovlog.h"
#include "ovlib/ovsocket.h"
#include "ovlib/ovstring.h"
#include "plugin/src/AboutWindow.h"
#include "plugin/src/Pellion.h"
#include "plugin/src/PreferencesWindow.h"
#include "plugin/src/RequestWorker.h"
#include "plugin/src/TransferManagerWindow.h"
#include "plugin/src/TransfersPoller.h"
#include "plugin/src/Utils.h"

namespace Pellion::Web {

namespace {

// Ends the worker's thread, so that none of our code runs there after this.
void endThread(Worker* worker, const char* name) {
  worker->stop();
  try {
    worker->join();
  } catch (const std::exception& e) {
    ov_err("Error joining %s thread: %s", name, e.what());
  }
  worker->reap();
}

char toLower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string browserNamed(const std::string& identification) {
  for (const char* browser : {"firefox", "chrome", "safari"}) {
    if (identification.find(browser) != std::string::npos) {
      return browser;
    }
  }
  return identification;
}

// Brings the application's windows to the front where the platform lets us.
void allowForegroundWindow() {}

}  // namespace

PlugIn::PlugIn() {
  ov_trace("Plugin() [%p]", static_cast<void*>(this));
  const int code = ov_sock_init();
  if (code != OV_OK) {
    ov_err("Failed to initialize socket: %s (%d)", Utils::errorCodeToStr(code).c_str(), code);
  }
  _requestWorker = std::make_unique<RequestWorker>();
  _transfersPoller = std::make_unique<TransfersPoller>();
  Utils::setCurrentDirToUserHome();
  ov_trace("Plugin() - done");
}

PlugIn::~PlugIn() {
  ov_trace("~Plugin() [%p]", static_cast<void*>(this));
  endThread(_requestWorker.get(), "request worker");
  _requestWorker.reset();
  endThread(_transfersPoller.get(), "transfer poller");
  _transfersPoller.reset();
  ov_sock_fini();
  ov_trace("~Plugin() - done");
}

void PlugIn::init(int launchTimeoutMs) {
  ov_trace("PlugIn::init() - launchTimeoutMs=%d", launchTimeoutMs);
  PellionApp::setLaunchTimeoutMs(launchTimeoutMs);
  // Deliberate: the element is made also when nothing could be launched.
  PellionApp::launch();
  _requestWorker->start();
}

bool PlugIn::configure(std::map<std::string, std::string>& parameters) {
  const std::string& linkCapacity = parameters["link-capacity"];
  if (!linkCapacity.empty()) {
    _linkCapacity = ov_str_atoi(linkCapacity.c_str());
  }
  _icon = parameters["transfer-icon"];
  _dropUploadUrl = parameters["drop-upload-url"];
  return true;
}

void PlugIn::setHostBrowser(const std::string& text) {
  std::string identification = text;
  std::transform(text.begin(), text.end(), identification.begin(), toLower);
  _hostBrowser = browserNamed(identification);
  ov_log("Browser host: %s", _hostBrowser.c_str());
}

void PlugIn::setHostname(const std::string& hostname) {
  _hostname = hostname;
}

void PlugIn::setName(const std::string& name) {
  _name = name;
}

bool PlugIn::displayTransferManager() {
  allowForegroundWindow();
  return TransferManagerWindow().show(std::string());
}

bool PlugIn::displayAboutWindow() {
  allowForegroundWindow();
  return AboutWindow().show(std::string());
}

bool PlugIn::displayPreferencesWindow() {
  allowForegroundWindow();
  return PreferencesWindow().show(std::string());
}

std::string PlugIn::queryBrowserEngine(PlugInHostApi_e api) const {
  switch (api) {
    case eNpapiPlugInHostApi:
      return "Gecko";
    case eActiveXPlugInHostApi:
      return "MSHTML";
    case eWebKitPlugInHostApi:
      return "WebKit";
  }
  return "Unknown";
}

std::string PlugIn::queryBuildVersion() const {
  return "3.1.1.70486";
}

std::string PlugIn::queryPluginVersion() const {
  return "3.1.1.70486";
}

std::string PlugIn::queryVersion() const {
  return "3.1";
}

}  // namespace Pellion::Web
