#ifndef TOOLS_WEB_HOST_SITES_H_
#define TOOLS_WEB_HOST_SITES_H_

#include <optional>
#include <string>
#include <vector>

#include "tools/web_host/SiteList.h"

namespace web_host {

// Which sites may use the plugin: what the administrator says goes before what the user said.
// Origins are given in their normal form.
class Sites {
 public:
  struct Entry {
    std::string origin;
    Leave leave;
    std::string file;         // the administrator's file that says so; empty for the user's own
    bool unreadable = false;  // that file cannot be read: what it denies is not known
  };

  // The entry that holds. Reads the files anew each time; what is wrong with them is in
  // complaints() afterwards. An administrator's file that is there and cannot be read denies all
  // that no file before it names.
  std::optional<Entry> find(const std::string& origin);
  // The administrator's first. An origin may be in both.
  std::vector<Entry> list();
  const std::vector<std::string>& complaints() const { return _complaints; }

  // Changes the user's file, which is written whole and put in place. Throws a runtime error; the
  // file is as it was then.
  static void set(const std::string& origin, std::optional<Leave> leave);

  // $XDG_CONFIG_HOME/orvane-web, made when missing. Throws a runtime error.
  static std::string userDirectory();

 private:
  SiteList read(const std::string& path, bool* unreadable);

  std::vector<std::string> _complaints;
  std::optional<Entry> _unreadable;  // for any origin
  size_t _readBefore = 0;            // entries of the files before that one
};

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_SITES_H_
