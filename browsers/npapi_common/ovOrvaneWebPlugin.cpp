#include "browsers/npapi_common/ovOrvaneWebPlugin.h"

#include <cstdlib>
#include <exception>

#include "browsers/npapi_common/TransferEventHandler.h"
#include "browsers/npapi_common/ovOrvaneWebScriptObject.h"
#include "browsers/npapi_common/ovOrvaneWebView.h"
#include "browsers/npapi_common/ovUtility.h"
#include "ovlib/ovlog.h"
#include "plugin/src/Constants.h"
#include "plugin/src/PlugIn.h"
#include "plugin/src/RunnableScheduler.h"
#include "plugin/src/TransfersPoller.h"
#include "plugin/src/linux/OneShotManager.h"

using Pellion::Web::OneShotManager;
using Pellion::Web::PlugIn;
using Pellion::Web::RunnableScheduler;
using ScriptValues::textOf;

ovOrvaneWebPlugin* ovOrvaneWebPlugin::kLastDialogOpener = nullptr;

namespace {

int launchTimeoutMs(const std::string& text) {
  const int timeout = std::atoi(text.c_str());
  return timeout == 0 && text != "0" ? Pellion::Web::kDefaultLaunchTimeoutMs : timeout;
}

DropMode_e dropMode(const std::string& text) {
  if (text == "upload") {
    return eUploadDropMode;
  }
  return text == "callback" ? eCallbackDropMode : eNoneDropMode;
}

void answerObject(const NPObjectRef& object, NPVariant* result) {
  if (!object) {
    NULL_TO_NPVARIANT(*result);
    return;
  }
  OBJECT_TO_NPVARIANT(g_NPNFuncs.retainobject(object.get()), *result);
}

NPObject* objectOf(const NPVariant& value) {
  return NPVARIANT_IS_OBJECT(value) ? NPVARIANT_TO_OBJECT(value) : nullptr;
}

}  // namespace

ovOrvaneWebPlugin::ovOrvaneWebPlugin(NPP instance, std::map<std::string, std::string>& params)
    : _instance(instance), _owner(PendingHandOvers::newOwner()) {
  ov_trace("ovOrvaneWebPlugin() [%p]", static_cast<void*>(this));
  try {
    initCore(params);
  } catch (const std::exception& e) {
    ov_err("Failed to initialize plugin: %s", e.what());
    throw;
  }
  initDropArea(params);
  initScripting();
}

void ovOrvaneWebPlugin::initCore(std::map<std::string, std::string>& params) {
  const int timeout = launchTimeoutMs(params["pellion-launch-wait-timeout-ms"]);
  _pluginImpl = std::make_unique<PlugIn>();
  const char* userAgent = g_NPNFuncs.uagent(_instance);
  _pluginImpl->setHostBrowser(userAgent != nullptr ? userAgent : "");
  _pluginImpl->setHostname(OW_GetPageHostname(_instance));
  _pluginImpl->init(timeout);
  _pluginImpl->configure(params);
  _oneShotManager = std::make_unique<OneShotManager>();
}

void ovOrvaneWebPlugin::initDropArea(std::map<std::string, std::string>& params) {
  _image = params["image"];
  _dropMode = dropMode(params["drop-mode"]);
  _dropAllowDirectories = params["drop-allow-directories"] == "true";
  _dropAllowMultiple = params["drop-allow-multiple"] == "true";
}

void ovOrvaneWebPlugin::initScripting() {
  _scriptObjectClass = OWCreateScriptObjectClass();
  _scriptObject =
      static_cast<OWScriptObject*>(g_NPNFuncs.createobject(_instance, _scriptObjectClass));
  _transferEventHandler = std::make_unique<TransferEventHandler>(_instance, nullptr, _owner);
  _pluginImpl->getTransfersPoller()->addListener(_transferEventHandler.get());
  // Last, so that a failed construction leaves no pointer to this object behind.
  if (_scriptObject != nullptr) {
    _scriptObject->pdata = this;
  }
}

ovOrvaneWebPlugin::~ovOrvaneWebPlugin() {
  ov_trace("~ovOrvaneWebPlugin() [%p]", static_cast<void*>(this));
  if (_scriptObject != nullptr) {
    _scriptObject->pdata = nullptr;
  }
  _life.reset();
  if (kLastDialogOpener == this) {
    kLastDialogOpener = nullptr;
  }
  try {
    cleanup();
  } catch (const std::exception& e) {
    ov_err("Plugin cleanup error: %s", e.what());
  }
  // Also when an exception has ended the cleanup before: the core's threads call the handler.
  _pluginImpl.reset();
  // They are gone: what they posted, and what they could not release, ends here.
  PendingHandOvers::freeAll(_owner);
  _dropObserver.reset();
  _eventHandler.reset();
  // Deliberate: the reference on the script object that its making gave is never returned, so every
  // instance leaves its object behind in the browser.
  ov_trace("~ovOrvaneWebPlugin() - done");
}

void ovOrvaneWebPlugin::cleanup() {
  if (_transferEventHandler) {
    if (_pluginImpl && _pluginImpl->getTransfersPoller() != nullptr) {
      _pluginImpl->getTransfersPoller()->removeListener(_transferEventHandler.get());
    }
    // Its events are pending no more when it goes.
    PendingHandOvers::freeAll(_owner);
    _transferEventHandler.reset();
  }
  std::free(_imageBuffer);
  _imageBuffer = nullptr;
  _view.reset();
  _pluginImpl.reset();
  if (_oneShotManager) {
    RunnableScheduler::stopRunnables(_oneShotManager.get());
    _oneShotManager.reset();
  }
}

bool ovOrvaneWebPlugin::getName(NPVariant* result) {
  const std::string& name = _pluginImpl->getName();
  OW_CharPtrToNPStringVariant(name.empty() ? nullptr : name.c_str(), result);
  return true;
}

bool ovOrvaneWebPlugin::setName(const NPVariant* value) {
  if (!NPVARIANT_IS_STRING(*value)) {
    return false;
  }
  _pluginImpl->setName(textOf(*value));
  return true;
}

bool ovOrvaneWebPlugin::getDropObserver(NPVariant* result) {
  answerObject(_dropObserver, result);
  return true;
}

bool ovOrvaneWebPlugin::setDropObserver(const NPVariant* value) {
  if (_dropObserver) {
    _dropObserver.reset();
    ov_log("Drop observer removed");
  }
  if (NPObject* object = objectOf(*value)) {
    _dropObserver = NPObjectRef(object);
    ov_log("Drop observer set");
  }
  return true;
}

bool ovOrvaneWebPlugin::getEventHandler(NPVariant* result) {
  answerObject(_eventHandler, result);
  return true;
}

bool ovOrvaneWebPlugin::setEventHandler(const NPVariant* value) {
  if (_eventHandler) {
    _transferEventHandler->setEventHandler(nullptr);
    _eventHandler.reset();
    ov_log("Event handler removed");
  }
  if (NPObject* object = objectOf(*value)) {
    _eventHandler = NPObjectRef(object);
    _transferEventHandler->setEventHandler(object);
    ov_log("Event handler set");
  }
  return true;
}

NPObject* ovOrvaneWebPlugin::objectForWebScript() {
  return _scriptObject != nullptr ? g_NPNFuncs.retainobject(_scriptObject) : nullptr;
}

unsigned long ovOrvaneWebPlugin::getBrowserWindow() {
  unsigned long window = 0;
  g_NPNFuncs.getvalue(_instance, NPNVnetscapeWindow, &window);
  return window;
}
