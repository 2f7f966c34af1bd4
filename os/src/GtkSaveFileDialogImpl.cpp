#include "os/src/GtkSaveFileDialogImpl.h"

#include "os/src/DialogUtils.h"
#include "os/src/ScopedFileChooser.h"

namespace Pellion::Web {

GtkSaveFileDialogImpl::GtkSaveFileDialogImpl(GtkWindow* parent, const std::string& title,
                                             const std::string& saveFileName,
                                             const std::string& fileTypes)
    : _saveFileName(saveFileName),
      _title(title.empty() ? "Save As" : title),
      _fileTypes(fileTypes),
      _parent(parent) {}

std::vector<std::string> GtkSaveFileDialogImpl::doShow() {
  ScopedFileChooser chooser(_title, _parent, GTK_FILE_CHOOSER_ACTION_SAVE, "gtk-save");
  gtk_file_chooser_set_do_overwrite_confirmation(chooser.get(), TRUE);
  if (!_saveFileName.empty()) {
    gtk_file_chooser_set_current_name(chooser.get(),
                                      DialogUtils::toValidUtf8(_saveFileName).c_str());
  }
  chooser.addFileTypes(_fileTypes);
  const std::vector<std::string> paths = chooser.run();
  // Deliberate: one element in every case, so that a cancelled dialog reports an empty path.
  return {paths.empty() ? std::string() : paths.front()};
}

}  // namespace Pellion::Web
