#ifndef TOOLS_WEB_HOST_PLUG_DRAG_H_
#define TOOLS_WEB_HOST_PLUG_DRAG_H_

#include <gtk/gtk.h>

#include <functional>
#include <string>

namespace web_host {

// A drag of files to the middle of a plug and a drop there, as a file manager makes it (XDND), but
// without the user's pointer. Main thread of the window's process.
class PlugDrag {
 public:
  enum class Result {
    kAccepted,
    kRefused,
    kSilent  // the plug has gone, or does not answer
  };

  // `plug` is an X window, `uris` a list of the type text/uri-list. `done` is called once, from the
  // main loop; not after the destructor, which breaks the drag off.
  PlugDrag(unsigned long plug, std::string uris, std::function<void(Result)> done);
  ~PlugDrag();
  PlugDrag(const PlugDrag&) = delete;
  PlugDrag& operator=(const PlugDrag&) = delete;

 private:
  static GdkFilterReturn onEvent(GdkXEvent* event, GdkEvent* ignored, gpointer self);
  static gboolean onTimeout(gpointer self);
  static gboolean onTurn(gpointer self);
  unsigned long source() const;
  void send(const char* message, const long (&data)[4]);
  void enter();
  void onStatus(bool welcome);
  void drop();
  void leave();
  void serve(const void* request);
  bool putList(unsigned long window, unsigned long property);
  bool putTypes(unsigned long window, unsigned long property);
  void finish(Result result);

  const unsigned long _plug;
  const std::string _uris;
  const std::function<void(Result)> _done;
  GtkWidget* _source;
  guint _timer = 0;
  guint _turn = 0;  // waits for the user's own drag to end
  bool _entered = false;
  bool _dropped = false;
};

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_PLUG_DRAG_H_
