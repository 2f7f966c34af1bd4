#ifndef BROWSERS_NPAPI_COMMON_PAGE_VARIANT_H_
#define BROWSERS_NPAPI_COMMON_PAGE_VARIANT_H_

#include "npapi/npfunctions.h"

// An argument or the result of a call into the page: a variant in the browser's memory, void at
// first. When the browser has no memory, a local one stands in. Main thread only.
class PageVariant {
 public:
  PageVariant();
  PageVariant(const PageVariant&) = delete;
  PageVariant& operator=(const PageVariant&) = delete;

  NPVariant* get() { return _variant; }
  // Releases the value unless the first word of its value field is 5.
  void releaseByValueWord();
  // Gives the variant's memory back; without this call it is left to the browser.
  void freeMemory();

 private:
  NPVariant _local;
  NPVariant* _variant;
};

#endif  // BROWSERS_NPAPI_COMMON_PAGE_VARIANT_H_
