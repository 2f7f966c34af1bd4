#include "os/src/ScopedFileChooser.h"

#include <memory>
#include <stdexcept>

#include "os/src/DialogUtils.h"
#include "os/src/GtkSetup.h"

namespace Pellion::Web {

namespace {

struct FreeNames {
  void operator()(GSList* names) const { g_slist_free_full(names, g_free); }
};

}  // namespace

ScopedFileChooser::ScopedFileChooser(const std::string& title, GtkWindow* parent,
                                     GtkFileChooserAction action, const char* acceptButton) {
  if (!ensureGtkInitialised()) {
    throw std::runtime_error("No display");
  }
  _dialog = ownToplevel(gtk_file_chooser_dialog_new(DialogUtils::toValidUtf8(title).c_str(), parent,
                                                    action, "gtk-cancel", GTK_RESPONSE_CANCEL,
                                                    acceptButton, GTK_RESPONSE_ACCEPT, nullptr));
}

void ScopedFileChooser::addFileTypes(const std::string& fileTypes) {
  DialogUtils::gtk_file_chooser_add_filetypes(get(), DialogUtils::parseFileTypesJson(fileTypes));
}

std::vector<std::string> ScopedFileChooser::run() {
  std::vector<std::string> paths;
  if (gtk_dialog_run(GTK_DIALOG(_dialog.get())) != GTK_RESPONSE_ACCEPT) {
    return paths;
  }
  const std::unique_ptr<GSList, FreeNames> names(gtk_file_chooser_get_filenames(get()));
  for (const GSList* name = names.get(); name != nullptr; name = name->next) {
    paths.emplace_back(static_cast<const char*>(name->data));
  }
  return paths;
}

}  // namespace Pellion::Web
