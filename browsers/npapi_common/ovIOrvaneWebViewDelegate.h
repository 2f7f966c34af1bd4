#ifndef BROWSERS_NPAPI_COMMON_OV_I_ORVANE_WEB_VIEW_DELEGATE_H_
#define BROWSERS_NPAPI_COMMON_OV_I_ORVANE_WEB_VIEW_DELEGATE_H_

#include <string>
#include <vector>

// Whom the drop view tells of accepted drops, on the browser's main thread. The call may end with
// the view destroyed.
class ovIOrvaneWebViewDelegate {
 public:
  // `paths` are local paths, at least one.
  virtual void doDrop(std::vector<std::string> paths) = 0;
  virtual ~ovIOrvaneWebViewDelegate() = default;
};

#endif  // BROWSERS_NPAPI_COMMON_OV_I_ORVANE_WEB_VIEW_DELEGATE_H_
