#ifndef TOOLS_WEB_HOST_ELEMENTS_H_
#define TOOLS_WEB_HOST_ELEMENTS_H_

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "tools/npapi_host/PluginHost.h"
#include "tools/web_host/Areas.h"
#include "tools/web_host/Message.h"
#include "tools/web_host/RemotePage.h"

namespace web_host {

// The page's elements by their numbers, each with its plugin instance. Operations answer with the
// message for the browser; they may run main loops of the module's, and thereby other operations.
// Main thread only.
class Elements {
 public:
  // Borrowed; both outlive this.
  Elements(RemotePage* page, Areas* areas) : _page(page), _areas(areas) {}
  Elements(const Elements&) = delete;
  Elements& operator=(const Elements&) = delete;

  // The first one loads the module.
  std::string make(const Operation& operation);
  // An element that exists from now on, and answers this text to all.
  std::string makeDead(const Operation& operation, const std::string& error);
  std::string call(const Operation& operation);
  std::string get(const Operation& operation);
  std::string set(const Operation& operation);
  std::string end(const Operation& operation);
  // The instance whose area takes the element's drops; nothing, with a message, when there is none.
  std::optional<npapi_host::Owner> areaOf(uint64_t element, std::string* error) const;
  // How many have an instance.
  size_t alive() const;
  // The path of the module, which may not be loaded yet; empty, with a message, when there is none.
  static std::string findModule(std::string* error);
  bool moduleLoaded() const { return _host != nullptr; }
  // Instances end; the module stays.
  void endAll();

 private:
  struct Made {
    std::shared_ptr<npapi_host::Instance> instance;
    std::string error;  // why there is no instance
    bool hasArea = false;
  };

  template <typename Use>
  std::string use(const Operation& operation, Use use);
  bool loadModule(std::string* error);

  RemotePage* _page;
  Areas* _areas;
  std::unique_ptr<npapi_host::PluginHost> _host;
  std::map<uint64_t, Made> _elements;
};

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_ELEMENTS_H_
