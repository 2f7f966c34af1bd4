#ifndef TOOLS_WEB_HOST_AREAS_H_
#define TOOLS_WEB_HOST_AREAS_H_

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tools/npapi_host/Element.h"
#include "tools/npapi_host/WindowLink.h"
#include "tools/web_host/Desktop.h"

namespace web_host {

// The module's own areas, in the window's process (see AreaWindows): nobody sees them until one is
// opened as a drop window. Main thread only.
class Areas {
 public:
  enum class Dropped { kAccepted, kRefused, kFailed };
  // The window of an instance has been opened, or closed.
  using Told = std::function<void(npapi_host::Owner owner, bool open)>;

  // `desktop` is borrowed and outlives this. The windows' title is `title`.
  Areas(Desktop* desktop, const std::string& title, Told told);
  Areas(const Areas&) = delete;
  Areas& operator=(const Areas&) = delete;

  // Starts the process, the first time. Null when there is no display, or no process.
  npapi_host::WindowLink* start();

  // `done` is called later, with whether the window is open.
  void open(npapi_host::Owner owner, std::function<void(bool)> done);
  // Drops a list of URIs on the instance's area. `done` is called later.
  void drop(npapi_host::Owner owner, const std::string& uris, std::function<void(Dropped)> done);

 private:
  void take(const npapi_host::Fields& fields);
  void takeOpen(npapi_host::Owner owner, bool open);
  void lost();

  Desktop* const _desktop;
  const std::string _title;
  const Told _told;
  std::map<npapi_host::Owner, bool> _open;
  std::multimap<npapi_host::Owner, std::function<void(bool)>> _opening;
  std::map<std::string, std::function<void(Dropped)>> _dropping;  // by their numbers
  uint64_t _lastDrop = 0;
  std::unique_ptr<npapi_host::WindowLink> _link;
};

// Whether an element with these parameters takes drops; what the module reads there.
bool takesDrops(const npapi_host::NameValues& params);

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_AREAS_H_
