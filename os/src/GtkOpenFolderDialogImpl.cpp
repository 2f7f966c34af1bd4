#include "os/src/GtkOpenFolderDialogImpl.h"

#include "os/src/ScopedFileChooser.h"

namespace Pellion::Web {

GtkOpenFolderDialogImpl::GtkOpenFolderDialogImpl(GtkWindow* parent, const std::string& title,
                                                 bool allowMultipleFiles)
    : _allowMultipleFiles(allowMultipleFiles),
      _title(title.empty() ? "Select Folder" : title),
      _parent(parent) {}

std::vector<std::string> GtkOpenFolderDialogImpl::doShow() {
  ScopedFileChooser chooser(_title, _parent, GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER, "gtk-open");
  if (_allowMultipleFiles) {
    gtk_file_chooser_set_select_multiple(chooser.get(), TRUE);
  }
  return chooser.run();
}

}  // namespace Pellion::Web
