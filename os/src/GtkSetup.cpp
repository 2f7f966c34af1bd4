#include "os/src/GtkSetup.h"

#include <gtk/gtk.h>

#include <mutex>

namespace Pellion::Web {

bool ensureGtkInitialised() {
  if (gdk_display_get_default() != nullptr) {
    return true;
  }
  // The locale belongs to the host program; GTK takes this word only before its first start.
  static std::once_flag localeLeftAlone;
  std::call_once(localeLeftAlone, gtk_disable_setlocale);
  return gtk_init_check(nullptr, nullptr) == TRUE;
}

}  // namespace Pellion::Web
