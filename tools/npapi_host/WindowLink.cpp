#include "tools/npapi_host/WindowLink.h"

#include <fcntl.h>
#include <gdk/gdkx.h>
#include <glib-unix.h>
#include <gtk/gtk.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <utility>

#include "gtk2/OnDemand.h"
#include "tools/npapi_host/LostWindows.h"
#include "tools/npapi_host/WindowProcess.h"

namespace npapi_host {

static constexpr int kAnswerMilliseconds = 10000;
static constexpr int kEndTries = 200;  // of 10 milliseconds

// The child; `descriptor` is its end of the pair. Only async-signal-safe calls before exec.
static pid_t startWindowProcess(int descriptor) {
  const std::string number = std::to_string(descriptor);
  const pid_t process = fork();
  if (process == 0) {
    fcntl(descriptor, F_SETFD, 0);
    execl("/proc/self/exe", program_invocation_short_name, kWindowProcessOption, number.c_str(),
          nullptr);
    _exit(127);
  }
  return process;
}

// Its end of the pair is closed already.
static void endProcess(pid_t process) {
  for (int tries = 0; waitpid(process, nullptr, WNOHANG) == 0; ++tries) {
    if (tries == kEndTries) {
      kill(process, SIGKILL);
      waitpid(process, nullptr, 0);
      return;
    }
    g_usleep(10000);
  }
}

bool WindowLink::openDisplay(std::string* reason) {
  if (!gtk2::load(reason)) {
    return false;
  }
  if (gtk_init_check(nullptr, nullptr) == FALSE) {
    const char* display = std::getenv("DISPLAY");
    *reason = display == nullptr || *display == '\0' ? "DISPLAY names none"
                                                     : std::string(display) + " does not answer";
    return false;
  }
  tolerateLostWindows();
  // The plugin's area is part of the page's surface, whatever the desktop's theme.
  gtk_rc_parse_string(
      "style \"area\" { bg[NORMAL] = \"#ffffff\" } widget_class \"GtkPlug\" style \"area\"");
  return true;
}

std::unique_ptr<WindowLink> WindowLink::open(const std::string& title, std::string* error) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
    *error = "the window's process cannot be reached";
    return nullptr;
  }
  const pid_t process = startWindowProcess(ends[1]);
  ::close(ends[1]);
  std::unique_ptr<WindowLink> link(new WindowLink(ends[0], process));
  if (process < 0 || !link->_link.send({"title", title}) || !link->receiveWindow()) {
    *error = "the window's process did not start";
    return nullptr;
  }
  return link;
}

WindowLink::WindowLink(int descriptor, pid_t process) : _link(descriptor), _process(process) {
  _source = g_unix_fd_add(
      descriptor, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP),
      [](gint fd, GIOCondition condition, gpointer self) -> gboolean {
        return readable(fd, condition, self);
      },
      this);
}

WindowLink::~WindowLink() {
  if (_source != 0) {
    g_source_remove(_source);
  }
  shutdown(_link.descriptor(), SHUT_RDWR);
  if (_process > 0) {
    endProcess(_process);
  }
}

bool WindowLink::receiveWindow() {
  while (_window == 0 && !_closed && _link.waitReadable(kAnswerMilliseconds)) {
    readAnswers();
  }
  return _window != 0;
}

int WindowLink::readable(int, int, void* self) {
  WindowLink* link = static_cast<WindowLink*>(self);
  if (link->readAnswers()) {
    return G_SOURCE_CONTINUE;
  }
  link->_source = 0;
  return G_SOURCE_REMOVE;
}

bool WindowLink::readAnswers() {
  const bool connected = _link.fill();
  Fields fields;
  while (_link.next(&fields)) {
    handle(fields);
  }
  if (!connected) {
    setClosed("the window's process has ended unexpectedly");
  }
  return connected;
}

void WindowLink::handle(const Fields& fields) {
  if (fields[0] == "window" && fields.size() == 2) {
    _window = std::strtoul(fields[1].c_str(), nullptr, 10);
  } else if (fields[0] == "area" && fields.size() == 3) {
    _areaId = std::strtoull(fields[1].c_str(), nullptr, 10);
    _area = std::strtoul(fields[2].c_str(), nullptr, 10);
  } else if (fields[0] == "closed") {
    setClosed("");
  } else if (fields[0] == "destroyed") {
    setClosed("another program has destroyed the window");
  } else if (_onTold) {
    _onTold(fields);
  }
}

void WindowLink::setClosed(const std::string& problem) {
  if (!_closed) {
    _closed = true;
    _problem = problem;
    if (_onClosed) {
      _onClosed(problem);
    }
  }
}

void WindowLink::onClosed(Closed function) {
  _onClosed = std::move(function);
  if (_closed && _onClosed) {
    _onClosed(_problem);
  }
}

// What the window says last is heard before its end is.
void WindowLink::send(const Fields& fields) {
  if (_closed || _link.send(fields)) {
    return;
  }
  const bool silent = errno == ETIMEDOUT;
  readAnswers();
  if (silent) {
    setClosed("the window's process does not answer");
  }
}

unsigned long WindowLink::addArea(uint64_t id, int width, int height) {
  _areaId = 0;
  send({"area", std::to_string(id), std::to_string(width), std::to_string(height)});
  while (_areaId != id && !_closed) {
    if (!_link.waitReadable(kAnswerMilliseconds)) {
      setClosed("the window's process does not answer");
    } else {
      readAnswers();
    }
  }
  return _areaId == id ? _area : 0;
}

void WindowLink::removeArea(uint64_t id) {
  send({"remove", std::to_string(id)});
}

void WindowLink::describeScreen(NPSetWindowCallbackStruct* screen) {
  GdkScreen* gdkScreen = gdk_screen_get_default();
  GdkVisual* visual = gdk_screen_get_system_visual(gdkScreen);
  GdkColormap* colormap = gdk_screen_get_system_colormap(gdkScreen);
  screen->type = NP_SETWINDOW;
  screen->display = display();
  screen->visual = gdk_x11_visual_get_xvisual(visual);
  screen->colormap = gdk_x11_colormap_get_xcolormap(colormap);
  screen->depth = static_cast<unsigned>(gdk_visual_get_depth(visual));
}

void* WindowLink::display() {
  return gdk_x11_display_get_xdisplay(gdk_display_get_default());
}

}  // namespace npapi_host
