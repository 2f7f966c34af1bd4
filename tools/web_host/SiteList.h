#ifndef TOOLS_WEB_HOST_SITE_LIST_H_
#define TOOLS_WEB_HOST_SITE_LIST_H_

#include <optional>
#include <string>
#include <vector>

namespace web_host {

enum class Leave { kAllow, kDeny };

// "allow" or "deny".
const char* leaveWord(Leave leave);

// The text of a sites file: lines "allow ORIGIN" and "deny ORIGIN", comments ("#") and empty lines.
// When an origin stands there twice, its last line holds.
class SiteList {
 public:
  struct Entry {
    std::string origin;
    Leave leave;
  };

  explicit SiteList(const std::string& text);

  std::optional<Leave> find(const std::string& origin) const;
  // In order, each origin once.
  std::vector<Entry> entries() const;
  // A sentence for each line that is broken; such lines count for nothing.
  const std::vector<std::string>& complaints() const { return _complaints; }

  // Replaces the origin's lines, or removes them for nothing. All other lines stay as they are.
  void set(const std::string& origin, std::optional<Leave> leave);
  std::string text() const;

 private:
  struct Line {
    std::string text;
    std::optional<Entry> entry;
  };

  void addLine(const std::string& text);

  std::vector<Line> _lines;
  std::vector<std::string> _complaints;
};

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_SITE_LIST_H_
