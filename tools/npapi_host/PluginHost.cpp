#include "tools/npapi_host/PluginHost.h"

#include <cassert>

#include "tools/npapi_host/BrowserTable.h"

namespace npapi_host {

static PluginHost* theHost = nullptr;

PluginHost::PluginHost(PageSide* page)
    : _page(page), _objects(page), _instances({&_module.functions(), page, &_objects}) {
  theHost = this;
}

PluginHost::~PluginHost() {
  endInstances();
  stop();
  theHost = nullptr;
}

PluginHost& PluginHost::current() {
  assert(theHost != nullptr);
  return *theHost;
}

bool PluginHost::start(std::string* error) {
  return _module.start(browserTable(), error);
}

void PluginHost::stop() {
  _objects.releaseAll();
  _module.stop();
}

}  // namespace npapi_host
