#ifndef BROWSERS_NPAPI_COMMON_OV_ORVANE_WEB_VIEW_H_
#define BROWSERS_NPAPI_COMMON_OV_ORVANE_WEB_VIEW_H_

#include <cstddef>
#include <cstdint>
#include <memory>

#include "npapi/npapi.h"

class ovIOrvaneWebViewDelegate;
class ovIOrvaneWebViewImpl;

// The plugin's visible area, which takes dropped files: the platform-neutral front of the widgets.
// Browser's main thread only.
class ovOrvaneWebView {
 public:
  ovOrvaneWebView();
  ~ovOrvaneWebView();
  ovOrvaneWebView(const ovOrvaneWebView&) = delete;
  ovOrvaneWebView& operator=(const ovOrvaneWebView&) = delete;

  // False for a null window.
  bool init(NPWindow* window, NPP instance, bool enableDrop, bool allowDirectories,
            bool allowMultiple);
  // Does nothing: the embedded window follows the browser's by itself.
  bool resize(NPWindow* window);
  void setImage(const void* bytes, size_t length);
  // Borrowed; must outlive the view.
  void setDelegate(ovIOrvaneWebViewDelegate* delegate);
  void handleDrop();
  int16_t handleEvent(void* event);

 private:
  std::unique_ptr<ovIOrvaneWebViewImpl> _impl;
};

#endif  // BROWSERS_NPAPI_COMMON_OV_ORVANE_WEB_VIEW_H_
