#ifndef BROWSERS_NPAPI_COMMON_PAGE_RESULT_H_
#define BROWSERS_NPAPI_COMMON_PAGE_RESULT_H_

#include "npapi/npfunctions.h"

// Gives memory back to the browser, if it takes any. Null is allowed.
void freeBrowserMemory(const void* memory);

// Where a call into the page stores its result: a variant in the browser's memory, void at first.
// When the browser has no memory, a local one stands in. Main thread only.
class PageResult {
 public:
  PageResult();
  PageResult(const PageResult&) = delete;
  PageResult& operator=(const PageResult&) = delete;

  NPVariant* get() { return _variant; }
  // Releases the value unless the first word of its value field is 5.
  void releaseByValueWord();
  // Gives the variant's memory back; without this call it is left to the browser.
  void freeMemory();

 private:
  NPVariant _local;
  NPVariant* _variant;
};

#endif  // BROWSERS_NPAPI_COMMON_PAGE_RESULT_H_
