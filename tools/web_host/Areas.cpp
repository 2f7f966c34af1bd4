#include "tools/web_host/Areas.h"

#include <cstdlib>
#include <utility>

namespace web_host {

using npapi_host::Fields;
using npapi_host::Owner;

Areas::Areas(Desktop* desktop, const std::string& title, Told told)
    : _desktop(desktop), _title(title), _told(std::move(told)) {}

npapi_host::WindowLink* Areas::start() {
  if (_link == nullptr && _desktop->open()) {
    std::string error;
    _link = npapi_host::WindowLink::open(_title, &error);
    if (_link != nullptr) {
      _link->onTold([this](const Fields& fields) { take(fields); });
      _link->onClosed([this](const std::string&) { lost(); });
    }
  }
  return _link.get();
}

void Areas::open(Owner owner, std::function<void(bool)> done) {
  if (_link == nullptr || _link->closed()) {
    return done(false);
  }
  _opening.emplace(owner, std::move(done));
  _link->send(
      {"open", std::to_string(owner), _title, std::to_string(_desktop->browser().active())});
}

void Areas::drop(Owner owner, const std::string& uris, std::function<void(Dropped)> done) {
  if (_link == nullptr || _link->closed()) {
    return done(Dropped::kFailed);
  }
  const std::string number = std::to_string(++_lastDrop);
  _dropping[number] = std::move(done);
  _link->send({"drop", std::to_string(owner), number, uris});
}

void Areas::take(const Fields& fields) {
  if (fields[0] == "open" && fields.size() == 3) {
    takeOpen(std::strtoull(fields[1].c_str(), nullptr, 10), fields[2] == "1");
  } else if (fields[0] == "dropped" && fields.size() == 3) {
    const auto found = _dropping.find(fields[1]);
    if (found != _dropping.end()) {
      const auto done = std::move(found->second);
      _dropping.erase(found);
      done(fields[2] == "accepted"  ? Dropped::kAccepted
           : fields[2] == "refused" ? Dropped::kRefused
                                    : Dropped::kFailed);
    }
  }
}

void Areas::takeOpen(Owner owner, bool open) {
  if (_open[owner] != open) {
    _open[owner] = open;
    _told(owner, open);
  }
  const auto [first, last] = _opening.equal_range(owner);
  std::vector<std::function<void(bool)>> waiting;
  for (auto each = first; each != last; ++each) {
    waiting.push_back(std::move(each->second));
  }
  _opening.erase(first, last);
  for (const auto& done : waiting) {
    done(open);
  }
}

// The window's process has ended: nothing is open any more, nor will be.
void Areas::lost() {
  const std::map<Owner, bool> known = _open;
  for (const auto& each : known) {
    takeOpen(each.first, false);
  }
  decltype(_opening) opening;
  opening.swap(_opening);
  for (const auto& each : opening) {
    each.second(false);
  }
  decltype(_dropping) dropping;
  dropping.swap(_dropping);
  for (const auto& each : dropping) {
    each.second(Dropped::kFailed);
  }
}

bool takesDrops(const npapi_host::NameValues& params) {
  std::string mode;
  for (const auto& [name, value] : params) {
    mode = name == "drop-mode" ? value : mode;  // the last one counts
  }
  return mode == "upload" || mode == "callback";
}

}  // namespace web_host
