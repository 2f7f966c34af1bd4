#ifndef TOOLS_NPAPI_HOST_WINDOW_LINK_H_
#define TOOLS_NPAPI_HOST_WINDOW_LINK_H_

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "npapi/npapi.h"
#include "tools/npapi_host/LinkProtocol.h"

namespace npapi_host {

// The page's window, which lives in a process of its own: were the plugin's socket in the module's
// process, the plug that a dialog makes of its parent window would take the socket over. Main
// thread only.
class WindowLink {
 public:
  // Initialises GTK in this process. False, with a reason, when there is no display.
  static bool openDisplay(std::string* reason);
  // Starts the other process; the display must be open. Null, with a message, when it does not
  // start.
  static std::unique_ptr<WindowLink> open(const std::string& title, std::string* error);
  // Ends the window's process, by force when it does not go.
  ~WindowLink();
  WindowLink(const WindowLink&) = delete;
  WindowLink& operator=(const WindowLink&) = delete;

  // The X window of the toplevel.
  unsigned long window() const { return _window; }
  // A plugin area; its socket's X window, or 0 when the window has gone.
  unsigned long addArea(uint64_t id, int width, int height);
  void removeArea(uint64_t id);

  void status(const std::string& text) { send({"status", text}); }
  // A request that the program's own window understands, see ServedWindow.
  void send(const Fields& fields);

  // Called once, when there is no window any more: without a text when the user has closed it, else
  // with a sentence that says what became of it.
  using Closed = std::function<void(const std::string& problem)>;
  void onClosed(Closed function);
  bool closed() const { return _closed; }
  // Called for each message that only the program itself understands.
  using Told = std::function<void(const Fields&)>;
  void onTold(Told function) { _onTold = std::move(function); }

  // What a module is told about the screen that its window is on.
  static void describeScreen(NPSetWindowCallbackStruct* screen);
  static void* display();

 private:
  WindowLink(int descriptor, pid_t process);
  bool receiveWindow();
  static int readable(int descriptor, int condition, void* self);
  bool readAnswers();
  void handle(const Fields& fields);
  void setClosed(const std::string& problem);

  LinkEnd _link;
  const pid_t _process;
  unsigned _source = 0;
  unsigned long _window = 0;
  uint64_t _areaId = 0;
  unsigned long _area = 0;
  bool _closed = false;
  std::string _problem;
  Closed _onClosed;
  Told _onTold;
};

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_WINDOW_LINK_H_
