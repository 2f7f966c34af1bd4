#ifndef TOOLS_PAGE_HOST_PAGE_WINDOW_H_
#define TOOLS_PAGE_HOST_PAGE_WINDOW_H_

#include <map>
#include <string>

#include "tools/npapi_host/ServedWindow.h"

namespace page_host {

// The window as the user sees it: a heading with the page's name and state, the plugins' areas,
// progress bars, and the page's output. For the window's process only.
class PageWindow : public npapi_host::ServedWindow {
 public:
  PageWindow();
  ~PageWindow() override;
  PageWindow(const PageWindow&) = delete;
  PageWindow& operator=(const PageWindow&) = delete;

  GtkWidget* toplevel() const override { return _window; }
  void setTitle(const std::string& title) override;
  void setStatus(const std::string& text) override;
  unsigned long addArea(const std::string& id, int width, int height) override;
  void removeArea(const std::string& id) override;
  // print log|warning|error TEXT, and progress ID FRACTION TEXT
  bool carryOut(const npapi_host::Fields& request) override;

 private:
  void print(const std::string& kind, const std::string& text);
  void setProgress(const std::string& id, double fraction, const std::string& text);
  static gboolean scrollToEnd(gpointer self);
  void showEnd();
  GtkWidget* makeHeading();
  GtkWidget* makeOutput();

  GtkWidget* _window;
  GtkWidget* _title = nullptr;
  GtkWidget* _status = nullptr;
  GtkWidget* _areaBox;
  GtkWidget* _progressBox;
  GtkWidget* _output = nullptr;
  guint _scrollStep = 0;
  std::map<std::string, GtkWidget*> _areas;
  std::map<std::string, GtkWidget*> _bars;
};

}  // namespace page_host

#endif  // TOOLS_PAGE_HOST_PAGE_WINDOW_H_
