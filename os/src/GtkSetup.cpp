#include "os/src/GtkSetup.h"

#include <gtk/gtk.h>

namespace Pellion::Web {

bool ensureGtkInitialised() {
  if (gdk_display_get_default() != nullptr) {
    return true;
  }
  // The locale belongs to the host program.
  gtk_disable_setlocale();
  return gtk_init_check(nullptr, nullptr) == TRUE;
}

}  // namespace Pellion::Web
