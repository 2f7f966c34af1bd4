#ifndef TOOLS_NPAPI_HOST_PLUGIN_HOST_H_
#define TOOLS_NPAPI_HOST_PLUGIN_HOST_H_

#include <string>

#include "tools/npapi_host/Instances.h"
#include "tools/npapi_host/Module.h"
#include "tools/npapi_host/PageObject.h"
#include "tools/npapi_host/PageSide.h"

namespace npapi_host {

// The browser's half of the plugin interface for one page: the module, its instances, and the page
// objects that it holds. There is one a process at a time, which the module's calls find here. In
// this order: load(), start(), instances, endInstances(), stop(). Main thread only.
class PluginHost {
 public:
  // Borrowed; outlives the host.
  explicit PluginHost(PageSide* page);
  ~PluginHost();
  PluginHost(const PluginHost&) = delete;
  PluginHost& operator=(const PluginHost&) = delete;

  static PluginHost& current();

  // Opens the module's file, see Module::find(), and asks what it offers.
  bool load(const std::string& path, std::string* error) { return _module.load(path, error); }
  // NP_Initialize with the browser's table.
  bool start(std::string* error);
  void endInstances() { _instances.endAll(); }
  // NP_Shutdown. The page objects that the module still holds are let go.
  void stop();

  PageSide& page() { return *_page; }
  const Module& module() const { return _module; }
  Instances& instances() { return _instances; }
  PageObjects& objects() { return _objects; }

 private:
  PageSide* _page;
  Module _module;
  PageObjects _objects;
  Instances _instances;
};

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_PLUGIN_HOST_H_
