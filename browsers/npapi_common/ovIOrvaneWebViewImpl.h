#ifndef BROWSERS_NPAPI_COMMON_OV_I_ORVANE_WEB_VIEW_IMPL_H_
#define BROWSERS_NPAPI_COMMON_OV_I_ORVANE_WEB_VIEW_IMPL_H_

#include <cstddef>
#include <cstdint>

#include "npapi/npapi.h"

class ovIOrvaneWebViewDelegate;

// The platform's half of the drop view. Browser's main thread only.
class ovIOrvaneWebViewImpl {
 public:
  ovIOrvaneWebViewImpl() = default;
  virtual ~ovIOrvaneWebViewImpl() = default;
  ovIOrvaneWebViewImpl(const ovIOrvaneWebViewImpl&) = delete;
  ovIOrvaneWebViewImpl& operator=(const ovIOrvaneWebViewImpl&) = delete;

  // Builds the widgets once per native window; called again, it refreshes flags and geometry.
  virtual bool init(NPWindow* window, NPP instance, bool enableDrop, bool allowDirectories,
                    bool allowMultiple) = 0;
  virtual bool fini() = 0;
  // Shows a picture (any format that the loader knows) in place of the label. A null buffer is
  // none.
  virtual void setImage(const void* bytes, size_t length) = 0;
  // Borrowed; must outlive the view.
  virtual void setDelegate(ovIOrvaneWebViewDelegate* delegate) = 0;
  virtual void handleDrop() = 0;
  virtual int16_t handleEvent(void* event) = 0;
};

#endif  // BROWSERS_NPAPI_COMMON_OV_I_ORVANE_WEB_VIEW_IMPL_H_
