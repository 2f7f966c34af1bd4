#include "tools/pellion_simulator/windows/Windows.h"

#include <gtk/gtk.h>

#include <mutex>

#include "tools/pellion_simulator/Log.h"
#include "tools/pellion_simulator/windows/AboutWindow.h"
#include "tools/pellion_simulator/windows/AppIcon.h"
#include "tools/pellion_simulator/windows/PreferencesWindow.h"
#include "tools/pellion_simulator/windows/TransferManagerWindow.h"

namespace pellion_simulator {

namespace {

template <typename Window, typename... Arguments>
void showWindow(std::unique_ptr<Window>* window, Arguments... arguments) {
  if (!*window) {
    *window = std::make_unique<Window>(arguments...);
  }
  (*window)->show();
}

}  // namespace

Windows::Windows(TransferQueue* queue, Settings* settings) : _queue(queue), _settings(settings) {}

Windows::~Windows() {
  close();
}

bool Windows::prepareDisplay() {
  if (!_prepared) {
    // Else GTK would change how numbers are written. It takes this word only before its first
    // start.
    static std::once_flag localeLeftAlone;
    std::call_once(localeLeftAlone, gtk_disable_setlocale);
    _prepared = gtk_init_check(nullptr, nullptr);
    if (_prepared) {
      setDefaultWindowIcon();
    }
  }
  return _prepared;
}

void Windows::show(const std::string& name) {
  if (!prepareDisplay()) {
    logLine("There is no display to show the " + name + " window on");
  } else if (name == "about") {
    showWindow(&_about);
  } else if (name == "preferences") {
    showWindow(&_preferences, _queue, _settings);
  } else if (name == "transfer-manager") {
    showWindow(&_transferManager, _queue, _settings);
  }
}

void Windows::close() {
  _transferManager.reset();
  _preferences.reset();
  _about.reset();
}

}  // namespace pellion_simulator
