// The window, the picture and the drops of the plugin object.

#include <cstdlib>
#include <cstring>
#include <memory>

#include "browsers/npapi_common/EventHandler.h"
#include "browsers/npapi_common/PageVariant.h"
#include "browsers/npapi_common/ovOrvaneWebPlugin.h"
#include "browsers/npapi_common/ovOrvaneWebView.h"
#include "browsers/npapi_common/ovUtility.h"
#include "ovlib/ovlog.h"
#include "plugin/src/PathEscaper.h"
#include "plugin/src/PlugIn.h"
#include "plugin/src/Utils.h"

using Pellion::Web::PathEscaper;

namespace {

bool isStreamOf(const NPStream* stream, const std::string& url) {
  return stream->url != nullptr && url == stream->url;
}

const char* textOrEmpty(const char* text) {
  return text != nullptr ? text : "";
}

}  // namespace

bool ovOrvaneWebPlugin::setWindow(NPWindow* window, NPP instance) {
  if (window == nullptr) {
    return true;
  }
  // Deliberate: also a window with another native id; the area stays in the first one.
  if (_view) {
    _view->resize(window);
    return true;
  }
  _view = std::make_unique<ovOrvaneWebView>();
  _view->init(window, instance, _dropMode != eNoneDropMode, _dropAllowDirectories,
              _dropAllowMultiple);
  _view->setDelegate(this);
  if (!_image.empty()) {
    // The browser may destroy this object while it is asked.
    const std::string image = _image;
    if (g_NPNFuncs.geturl(instance, image.c_str(), nullptr) != NPERR_NO_ERROR) {
      ov_log("WARNING: Unable to load image from URL: %s", image.c_str());
    }
  }
  return true;
}

int16_t ovOrvaneWebPlugin::handleEvent(void* event) {
  return _view && _cocoaEventsSupport ? _view->handleEvent(event) : int16_t{0};
}

bool ovOrvaneWebPlugin::createStream(NPMIMEType /*type*/, NPStream* stream, NPBool /*seekable*/,
                                     uint16_t* /*stype*/) {
  ov_trace("ovOrvaneWebPlugin::createStream()");
  ov_trace("  URL: %s", textOrEmpty(stream->url));
  return true;
}

int32_t ovOrvaneWebPlugin::receiveOnStream(NPStream* stream, int32_t offset, int32_t len,
                                           void* buffer) {
  if (!isStreamOf(stream, _image) || offset < 0 || len < 0) {
    return -1;
  }
  if (len == 0) {
    return 0;
  }
  // Cannot overflow: both are below 2^31.
  const uint32_t size = static_cast<uint32_t>(offset) + static_cast<uint32_t>(len);
  const uint32_t filled = _imageBuffer != nullptr ? _imageBufferLen : 0;
  // Deliberate: the buffer ends where the latest block does, so a block that comes again cuts off
  // what was there behind it.
  auto* grown = static_cast<uint8_t*>(std::realloc(_imageBuffer, size));
  if (grown == nullptr) {
    return -1;
  }
  if (filled < static_cast<uint32_t>(offset)) {
    std::memset(grown + filled, 0, static_cast<uint32_t>(offset) - filled);
  }
  std::memcpy(grown + offset, buffer, static_cast<size_t>(len));
  _imageBuffer = grown;
  _imageBufferLen = size;
  return len;
}

bool ovOrvaneWebPlugin::destroyStream(NPStream* stream, NPReason /*reason*/) {
  ov_trace("ovOrvaneWebPlugin::destroyStream()");
  if (!isStreamOf(stream, _image)) {
    return false;
  }
  // Deliberate: also a picture that broke off is shown as far as it came.
  if (_view) {
    _view->setImage(_imageBuffer, _imageBufferLen);
  }
  std::free(_imageBuffer);
  _imageBuffer = nullptr;
  return true;
}

void ovOrvaneWebPlugin::streamAsFile(NPStream* /*stream*/, const char* fname) {
  ov_log("%s", Pellion::Web::Utils::textAsLogFormat(textOrEmpty(fname)).c_str());
}

void ovOrvaneWebPlugin::urlNotify(const char* url, NPReason /*reason*/) {
  ov_log("%s", Pellion::Web::Utils::textAsLogFormat(textOrEmpty(url)).c_str());
}

void ovOrvaneWebPlugin::doDrop(std::vector<std::string> paths) {
  ov_trace("ovOrvaneWebPlugin::doDrop()");
  if (_dropMode == eUploadDropMode) {
    _pluginImpl->uploadDroppedFiles(paths);
  } else if (_dropMode == eCallbackDropMode) {
    const std::weak_ptr<const void> life = _life;
    notifyDropObserver(paths);
    if (!life.expired()) {
      EventHandler::handleEvent(_instance, _eventHandler.get(), eDropEventType,
                                PathEscaper::toJsonStr(paths));
    }
  }
}

// This object may be gone when it returns.
void ovOrvaneWebPlugin::notifyDropObserver(const std::vector<std::string>& paths) {
  if (!_dropObserver) {
    return;
  }
  const std::weak_ptr<const void> life = _life;
  const NPP instance = _instance;
  // The page may set another observer in a call.
  const NPObjectRef observer(_dropObserver.get());
  const NPIdentifier onDrop = g_NPNFuncs.getstringidentifier("onDrop");
  if (!g_NPNFuncs.hasmethod(instance, observer.get(), onDrop) || life.expired()) {
    return;
  }
  const std::string text = PathEscaper::toColonSeparatedStr(paths);
  PageVariant argument;
  OW_CharPtrToNPStringVariant(text.empty() ? nullptr : text.c_str(), argument.get());
  PageVariant result;
  if (g_NPNFuncs.invoke(instance, observer.get(), onDrop, argument.get(), 1, result.get())) {
    result.releaseByValueWord();
  }
  g_NPNFuncs.releasevariantvalue(argument.get());
  result.freeMemory();
  argument.freeMemory();
}
