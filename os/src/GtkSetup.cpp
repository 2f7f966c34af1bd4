#include "os/src/GtkSetup.h"

#include <gtk/gtk.h>

#include <mutex>
#include <set>
#include <utility>

#include "gtk2/OnDemand.h"

namespace Pellion::Web {

namespace {

std::set<void (*)()>& waitingSteps() {
  static std::set<void (*)()> steps;
  return steps;
}

bool initialise() {
  if (gdk_display_get_default() != nullptr) {
    return true;
  }
  // The locale belongs to the host program; GTK takes this word only before its first start.
  static std::once_flag localeLeftAlone;
  std::call_once(localeLeftAlone, gtk_disable_setlocale);
  return gtk_init_check(nullptr, nullptr) == TRUE;
}

}  // namespace

bool ensureGtkInitialised() {
  if (!gtk2::load(nullptr) || !initialise()) {
    return false;
  }
  for (void (*step)() : std::exchange(waitingSteps(), {})) {
    step();
  }
  return true;
}

void whenGtkIsInitialised(void (*step)()) {
  waitingSteps().insert(step);
  if (gtk2::isLoaded() && gdk_display_get_default() != nullptr) {
    ensureGtkInitialised();
  }
}

}  // namespace Pellion::Web
