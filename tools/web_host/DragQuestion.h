#ifndef TOOLS_WEB_HOST_DRAG_QUESTION_H_
#define TOOLS_WEB_HOST_DRAG_QUESTION_H_

#include <gdk/gdk.h>

#include <functional>
#include <string>

namespace web_host {

// Asks the source of the drag that is under way (XDND) for the list of its files, as the window
// below the pointer would. Nothing else of the drag is touched. Main thread only.
class DragQuestion {
 public:
  static constexpr unsigned kMilliseconds = 3000;
  static constexpr size_t kMostBytes = size_t{4} * 1024 * 1024;

  // `window` is the toplevel that the drag is over: sources answer only what belongs to it.
  // `answered` is called once, from the main loop, with the list (text/uri-list), which is empty
  // when the source has none, does not answer in time, or answers something else; not after the
  // destructor.
  DragQuestion(unsigned long window, std::function<void(const std::string& uris)> answered);
  ~DragQuestion();
  DragQuestion(const DragQuestion&) = delete;
  DragQuestion& operator=(const DragQuestion&) = delete;

 private:
  static GdkFilterReturn onEvent(GdkXEvent* event, GdkEvent* ignored, gpointer self);
  static gboolean onTimeout(gpointer self);
  void ask(unsigned long window);
  void takeAnswer(unsigned long property);
  void takePiece();
  bool takeProperty(std::string* bytes, unsigned long* type);
  void finish(const std::string& uris);

  const std::function<void(const std::string&)> _answered;
  unsigned long _requestor = 0;
  GdkWindow* _window = nullptr;
  bool _inPieces = false;
  std::string _uris;
  guint _timer;
};

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_DRAG_QUESTION_H_
