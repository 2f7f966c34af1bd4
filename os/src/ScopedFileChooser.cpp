#include "os/src/ScopedFileChooser.h"

#include <memory>
#include <stdexcept>

#include "os/src/DialogUtils.h"
#include "os/src/GtkSetup.h"

namespace Pellion::Web {

ScopedFileChooser::ScopedFileChooser(const std::string& title, GtkWindow* parent,
                                     GtkFileChooserAction action, const char* acceptButton) {
  if (!ensureGtkInitialised()) {
    throw std::runtime_error("No display");
  }
  _dialog = gtk_file_chooser_dialog_new(DialogUtils::toValidUtf8(title).c_str(), parent, action,
                                        "gtk-cancel", GTK_RESPONSE_CANCEL, acceptButton,
                                        GTK_RESPONSE_ACCEPT, nullptr);
  g_object_ref(_dialog);
}

ScopedFileChooser::~ScopedFileChooser() {
  gtk_widget_destroy(_dialog);
  g_object_unref(_dialog);
}

void ScopedFileChooser::addFileTypes(const std::string& fileTypes) {
  DialogUtils::gtk_file_chooser_add_filetypes(get(), DialogUtils::parseFileTypesJson(fileTypes));
}

std::vector<std::string> ScopedFileChooser::run() {
  std::vector<std::string> paths;
  if (gtk_dialog_run(GTK_DIALOG(_dialog)) != GTK_RESPONSE_ACCEPT) {
    return paths;
  }
  GSList* names = gtk_file_chooser_get_filenames(get());
  for (GSList* name = names; name != nullptr; name = name->next) {
    paths.emplace_back(static_cast<const char*>(name->data));
  }
  g_slist_free_full(names, g_free);
  return paths;
}

}  // namespace Pellion::Web
