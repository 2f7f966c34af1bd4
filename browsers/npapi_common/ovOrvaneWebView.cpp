#include "browsers/npapi_common/ovOrvaneWebView.h"

#include "browsers/npapi_common/ovLinuxOrvaneWebViewImpl.h"

ovOrvaneWebView::ovOrvaneWebView() : _impl(std::make_unique<ovLinuxOrvaneWebViewImpl>()) {}

ovOrvaneWebView::~ovOrvaneWebView() {
  if (_impl) {
    _impl->fini();
  }
}

bool ovOrvaneWebView::init(NPWindow* window, NPP instance, bool enableDrop, bool allowDirectories,
                           bool allowMultiple) {
  if (window == nullptr || !_impl) {
    return false;
  }
  _impl->init(window, instance, enableDrop, allowDirectories, allowMultiple);
  return true;
}

bool ovOrvaneWebView::resize(NPWindow* /*window*/) {
  return true;
}

void ovOrvaneWebView::setImage(const void* bytes, size_t length) {
  if (_impl) {
    _impl->setImage(bytes, length);
  }
}

void ovOrvaneWebView::setDelegate(ovIOrvaneWebViewDelegate* delegate) {
  if (_impl) {
    _impl->setDelegate(delegate);
  }
}

void ovOrvaneWebView::handleDrop() {
  if (_impl) {
    _impl->handleDrop();
  }
}

int16_t ovOrvaneWebView::handleEvent(void* event) {
  return _impl ? _impl->handleEvent(event) : int16_t{-1};
}
