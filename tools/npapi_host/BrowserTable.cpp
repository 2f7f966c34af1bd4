#include "tools/npapi_host/BrowserTable.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tools/npapi_host/MainLoop.h"
#include "tools/npapi_host/PluginHost.h"

namespace npapi_host {

NPNetscapeFuncs* browserTable() {
  static NPNetscapeFuncs table = [] {
    NPNetscapeFuncs made = {};
    made.size = sizeof(made);
    made.version = (NP_VERSION_MAJOR << 8) + NP_VERSION_MINOR;
    addObjectFunctions(&made);
    addPageFunctions(&made);
    addMissingFunctions(&made);
    return made;
  }();
  return &table;
}

void requireMainThread(const char* function) {
  if (!MainLoop::onMainThread()) {
    dprintf(STDERR_FILENO, "%s: the module called %s off the main thread\n",
            program_invocation_short_name, function);
    std::abort();
  }
}

std::shared_ptr<Instance> requireInstance(NPP npp, const char* function) {
  requireMainThread(function);
  PluginHost& host = PluginHost::current();
  std::shared_ptr<Instance> instance = host.instances().find(npp);
  if (instance == nullptr) {
    host.page().complain(std::string("the module called ") + function +
                         " for an instance that does not exist");
  }
  return instance;
}

// What browsers offer besides and this one does not: answers say so, and nothing else happens.
void addMissingFunctions(NPNetscapeFuncs* table) {
  table->posturl = [](NPP, const char*, const char*, uint32_t, const char*, NPBool) -> NPError {
    return NPERR_GENERIC_ERROR;
  };
  table->posturlnotify = [](NPP, const char*, const char*, uint32_t, const char*, NPBool,
                            void*) -> NPError { return NPERR_GENERIC_ERROR; };
  table->requestread = [](NPStream*, NPByteRange*) -> NPError { return NPERR_STREAM_NOT_SEEKABLE; };
  table->newstream = [](NPP, NPMIMEType, const char*, NPStream**) -> NPError {
    return NPERR_GENERIC_ERROR;
  };
  table->write = [](NPP, NPStream*, int32_t, void*) -> int32_t { return -1; };
  table->destroystream = [](NPP, NPStream*, NPReason) -> NPError { return NPERR_GENERIC_ERROR; };
  table->memflush = [](uint32_t) -> uint32_t { return 0; };
  table->reloadplugins = [](NPBool) {};
  table->getJavaEnv = []() -> void* { return nullptr; };
  table->getJavaPeer = [](NPP) -> void* { return nullptr; };
  table->invalidaterect = [](NPP, NPRect*) {};
  table->invalidateregion = [](NPP, NPRegion) {};
  table->forceredraw = [](NPP) {};
  table->pushpopupsenabledstate = [](NPP, NPBool) {};
  table->poppopupsenabledstate = [](NPP) {};
  table->getvalueforurl = [](NPP, NPNURLVariable, const char*, char**, uint32_t*) -> NPError {
    return NPERR_GENERIC_ERROR;
  };
  table->setvalueforurl = [](NPP, NPNURLVariable, const char*, const char*, uint32_t) -> NPError {
    return NPERR_GENERIC_ERROR;
  };
  table->getauthenticationinfo = [](NPP, const char*, const char*, int32_t, const char*,
                                    const char*, char**, uint32_t*, char**,
                                    uint32_t*) -> NPError { return NPERR_GENERIC_ERROR; };
  table->popupcontextmenu = [](NPP, NPMenu*) -> NPError { return NPERR_GENERIC_ERROR; };
  table->convertpoint = [](NPP, double, double, NPCoordinateSpace, double*, double*,
                           NPCoordinateSpace) -> NPBool { return 0; };
  table->handleevent = [](NPP, void*, NPBool) -> NPBool { return 0; };
  table->unfocusinstance = [](NPP, NPFocusDirection) -> NPBool { return 0; };
  table->urlredirectresponse = [](NPP, void*, NPBool) {};
  table->initasyncsurface = [](NPP, NPSize*, NPImageFormat, void*, NPAsyncSurface*) -> NPError {
    return NPERR_GENERIC_ERROR;
  };
  table->finalizeasyncsurface = [](NPP, NPAsyncSurface*) -> NPError { return NPERR_GENERIC_ERROR; };
  table->setcurrentasyncsurface = [](NPP, NPAsyncSurface*, NPRect*) {};
}

}  // namespace npapi_host
