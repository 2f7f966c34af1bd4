#include "os/src/FileDialog.h"

#include <gtk/gtkplug.h>

#include <exception>

#include "os/src/GtkSetup.h"
#include "ovlib/ovlog.h"
#include "plugin/src/Json.h"
#include "plugin/src/PathEscaper.h"

namespace Pellion::Web {

namespace {

// What the blocking form sets; the choosers store it and never act on it.
constexpr int kTimedShowTimeout = 43;

}  // namespace

bool FileDialog::init(const std::string& /*display*/) {
  if (ensureGtkInitialised()) {
    _plug = ownToplevel(gtk_plug_new(static_cast<GdkNativeWindow>(_parent)));
  }
  _impl = createImpl(_plug ? GTK_WINDOW(_plug.get()) : nullptr);
  return true;
}

std::vector<std::string> FileDialog::show() {
  showHelper(true);
  return _selectedPaths;
}

unsigned long FileDialog::result() {
  return _impl ? static_cast<unsigned long>(_impl->getState()) : 0;
}

void FileDialog::run() {
  if (_interrupted) {
    return;
  }
  try {
    showHelper(false);
  } catch (const std::exception& e) {
    const std::string message = std::string(errorText()) + ": " + e.what();
    ov_err("%s", message.c_str());
    _resultText = Json::createError(message);
  }
}

void FileDialog::stop() {
  _interrupted = true;
  if (_impl) {
    _impl->close();
  }
}

std::string FileDialog::toResultText(const std::vector<std::string>& paths) const {
  return PathEscaper::toJsonStr(paths);
}

void FileDialog::showHelper(bool timed) {
  _resultText.clear();
  _selectedPaths.clear();
  if (!_impl) {
    return;
  }
  _impl->setTimeout(timed ? kTimedShowTimeout : 0);
  _selectedPaths = _impl->show();
  _resultText = toResultText(_selectedPaths);
}

}  // namespace Pellion::Web
