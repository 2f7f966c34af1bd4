#ifndef TOOLS_NPAPI_HOST_ASYNC_CALLS_H_
#define TOOLS_NPAPI_HOST_ASYNC_CALLS_H_

#include "npapi/npapi.h"
#include "tools/npapi_host/Element.h"

namespace npapi_host {

// Which instances take calls from other threads. The NPP of one that ended is given to the next, so
// what was posted for the old one is told apart by its owner number. Lives as long as the process:
// the module's threads may come late.
class AsyncCalls {
 public:
  // Main thread.
  static void open(NPP npp, Owner owner);
  static void close(NPP npp);

  // Any thread: calls `function` on the main thread, unless the instance has ended by then. False
  // when it has ended already.
  static bool post(NPP npp, void (*function)(void*), void* data);
};

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_ASYNC_CALLS_H_
