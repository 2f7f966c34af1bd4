#ifndef TOOLS_WEB_HOST_AREA_WINDOWS_H_
#define TOOLS_WEB_HOST_AREA_WINDOWS_H_

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "tools/npapi_host/ServedWindow.h"
#include "tools/npapi_host/WindowProcess.h"
#include "tools/web_host/PlugDrag.h"

namespace web_host {

// The module's areas, in the window's process: each in a window of its own, which is beside the
// screen until it is opened as a drop window. The requests besides those of every window, and what
// is told:
//   open AREA TITLE OWNER      shows it, in front of that X window (0: none); "open AREA 1" follows
//   drop AREA NUMBER URIS      drops files on it; "dropped NUMBER accepted|refused|silent" follows
//   "open AREA 0"              the user has closed it, or it was removed
class AreaWindows : public npapi_host::ServedWindow {
 public:
  explicit AreaWindows(npapi_host::Tell tell);
  ~AreaWindows() override;
  AreaWindows(const AreaWindows&) = delete;
  AreaWindows& operator=(const AreaWindows&) = delete;

  // Never shown.
  GtkWidget* toplevel() const override { return _leader; }
  void setTitle(const std::string&) override {}
  void setStatus(const std::string&) override {}
  unsigned long addArea(const std::string& id, int width, int height) override;
  void removeArea(const std::string& id) override;
  bool carryOut(const npapi_host::Fields& request) override;

 private:
  struct Area {
    AreaWindows* windows;
    std::string id;
    GtkWidget* window;
    GtkWidget* socket;
    bool open;
  };
  struct Drop {
    std::string area;
    std::string number;
    std::string uris;
  };

  static gboolean onDelete(GtkWidget* widget, GdkEvent* event, gpointer area);
  static void putAside(const Area& area);
  void open(Area* area, const std::string& title, unsigned long owner);
  void close(Area* area);
  void dropNext();
  void dropped(const std::string& result);

  const npapi_host::Tell _tell;
  GtkWidget* _leader;
  std::map<std::string, std::unique_ptr<Area>> _areas;
  std::deque<Drop> _drops;  // the first one is under way
  std::unique_ptr<PlugDrag> _drag;
};

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_AREA_WINDOWS_H_
