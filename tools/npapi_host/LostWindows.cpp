#include "tools/npapi_host/LostWindows.h"

#include <gdk/gdkx.h>
#include <glib.h>

#include <cstring>

namespace npapi_host {
namespace {

XErrorHandler previousHandler = nullptr;
int badPicture = 0;  // of the drawing extension

// What was made of a lost window is not there either: pixmaps, graphics contexts, pictures.
int handleError(Display* display, XErrorEvent* error) {
  const int code = error->error_code;
  const bool lost = code == BadWindow || code == BadDrawable || code == BadPixmap ||
                    code == BadGC || code == badPicture;
  return lost ? 0 : previousHandler(display, error);
}

int codeOfBadPicture() {
  int opcode = 0;
  int firstEvent = 0;
  int firstError = 0;
  return XQueryExtension(GDK_DISPLAY_XDISPLAY(gdk_display_get_default()), "RENDER", &opcode,
                         &firstEvent, &firstError)
             ? firstError + 1
             : BadDrawable;
}

void logGdk(const gchar* domain, GLogLevelFlags level, const gchar* message, gpointer data) {
  if (std::strstr(message, " unexpectedly destroyed") == nullptr) {
    g_log_default_handler(domain, level, message, data);
  }
}

}  // namespace

void tolerateLostWindows() {
  if (previousHandler == nullptr) {
    badPicture = codeOfBadPicture();
    previousHandler = XSetErrorHandler(handleError);
    g_log_set_handler("Gdk", G_LOG_LEVEL_WARNING, logGdk, nullptr);
  }
}

}  // namespace npapi_host
