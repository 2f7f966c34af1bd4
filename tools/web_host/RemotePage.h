#ifndef TOOLS_WEB_HOST_REMOTE_PAGE_H_
#define TOOLS_WEB_HOST_REMOTE_PAGE_H_

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tools/npapi_host/PageSide.h"
#include "tools/web_host/Message.h"

namespace web_host {

// The page in the browser's process, as the module sees it. Its functions and objects are numbers
// here; calls of them are told to the page and answered at once. Main thread only.
class RemotePage : public npapi_host::PageSide {
 public:
  using Send = std::function<void(const std::string&)>;

  // `send` takes messages to the browser; `sendSoon` those that may wait for others to go along.
  RemotePage(const Hello& hello, Send send, Send sendSoon);
  ~RemotePage() override;
  RemotePage(const RemotePage&) = delete;
  RemotePage& operator=(const RemotePage&) = delete;

  // The page has passed a value for an instance. `variant` is the caller's to release. Each object
  // that is mentioned is let go of again, also when the module keeps nothing of it.
  void toVariant(const Value& value, npapi_host::Owner owner, NPVariant* variant);
  // A mention that reaches no instance.
  void drop(const Value& value);
  // An instance that is not known yet is that of this element, and has been made for it.
  void expect(uint64_t element) { _expected = element; }
  void made(npapi_host::Owner owner, uint64_t element) { _elements[owner] = element; }

  NPObject* windowObject(npapi_host::Owner owner) override;
  NPObject* elementObject(npapi_host::Owner) override { return nullptr; }
  void instanceEnded(npapi_host::Owner owner) override;
  void hold(npapi_host::PageRef object) override;
  void letGo(npapi_host::PageRef object) override;
  bool hasMethod(npapi_host::PageRef object, const npapi_host::Identifier& name) override;
  bool hasProperty(npapi_host::PageRef object, const npapi_host::Identifier& name) override;
  bool get(npapi_host::PageRef object, const npapi_host::Identifier& name, npapi_host::Owner owner,
           NPVariant* result) override;
  bool call(const npapi_host::PageCall& call, NPVariant* result) override;
  bool mayFetch(const std::string& address) override;
  std::string baseAddress() override;
  std::string origin() override { return _hello.origin; }
  const std::string& userAgent() override { return _hello.agent; }
  // The only resource that the module fetches is its area's picture.
  void streamTaken(npapi_host::Owner owner, const char* bytes, size_t size) override;
  void streamEnded(npapi_host::Owner owner) override;
  npapi_host::WindowLink* window() override { return _window; }
  void complain(const std::string& text) override;

  // Where elements have their areas; borrowed, or null.
  void setWindow(npapi_host::WindowLink* window) { _window = window; }

 private:
  // What the page has said of one of its objects, while it is known on both sides.
  struct Known {
    uint64_t mentions = 0;  // by the page, since the last release
    int holds = 0;          // by instances
    bool callable = false;
    std::vector<std::string> methods;
  };

  void mention(const Value& value);
  void releaseLater(uint64_t object);
  void releaseUnused(uint64_t object);
  uint64_t elementOf(npapi_host::Owner owner) const;

  const Hello _hello;
  const Send _send;
  const Send _sendSoon;
  std::map<std::string, std::string> _location;  // window.location, by property
  std::map<uint64_t, Known> _objects;
  std::map<npapi_host::Owner, uint64_t> _elements;
  std::map<npapi_host::Owner, std::string> _pictures;  // as far as they have come
  uint64_t _expected = 0;
  npapi_host::WindowLink* _window = nullptr;
};

// window.location's properties for an address, as browsers have them; of an address without a host
// (about:blank, file:) the host name is empty.
std::map<std::string, std::string> locationOf(const std::string& address,
                                              const std::string& origin);

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_REMOTE_PAGE_H_
