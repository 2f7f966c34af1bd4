#ifndef BROWSERS_NPAPI_COMMON_OV_LINUX_ORVANE_WEB_VIEW_IMPL_H_
#define BROWSERS_NPAPI_COMMON_OV_LINUX_ORVANE_WEB_VIEW_IMPL_H_

#include <gtk/gtk.h>

#include <string>
#include <vector>

#include "browsers/npapi_common/ovIOrvaneWebViewImpl.h"
#include "os/src/GlibGuards.h"

// The drop area as GTK widgets: a plug in the browser's window that holds a label, later the page's
// picture, and takes "text/uri-list" drops. Every drop is checked as a whole: one bad item refuses
// it.
class ovLinuxOrvaneWebViewImpl : public ovIOrvaneWebViewImpl {
 public:
  bool init(NPWindow* window, NPP instance, bool enableDrop, bool allowDirectories,
            bool allowMultiple) override;
  bool fini() override { return true; }
  void setImage(const void* bytes, size_t length) override;
  void setDelegate(ovIOrvaneWebViewDelegate* delegate) override { _delegate = delegate; }
  void handleDrop() override {}
  int16_t handleEvent(void* /*event*/) override { return 0; }

 private:
  static void drag_data_received(GtkWidget* widget, GdkDragContext* context, gint x, gint y,
                                 GtkSelectionData* data, guint info, guint time, gpointer self);

  void draw() {}
  void buildWidgets();
  void showInPlug(GtkWidget* widget);
  // Makes the plug's child the place for drops, if they are enabled.
  void makeDropDestination();
  // Checks a drop and hands it to the delegate, which may destroy the view; false when it is
  // refused.
  bool drop(gchar** uris);
  // The dropped local paths; empty when the drop is refused.
  std::vector<std::string> collectPaths(gchar** uris) const;
  // Appends the path of one URI; false, with a log line, when it refuses the drop.
  bool collectPath(const gchar* uri, std::vector<std::string>& paths) const;

  bool _enableDrop = false;
  bool _allowDirectories = false;
  bool _allowMultiple = false;
  ovIOrvaneWebViewDelegate* _delegate = nullptr;
  int32_t mX = 0;
  int32_t mY = 0;
  uint32_t mWidth = 0;
  uint32_t mHeight = 0;
  unsigned long mWindow = 0;  // X11 window id
  void* mDisplay = nullptr;   // the browser's X display, borrowed
  Pellion::Web::OwnedToplevel _windowPlug;
  GtkWidget* _labelWidget = nullptr;  // the plug's child
};

#endif  // BROWSERS_NPAPI_COMMON_OV_LINUX_ORVANE_WEB_VIEW_IMPL_H_
