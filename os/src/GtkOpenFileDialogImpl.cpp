#include "os/src/GtkOpenFileDialogImpl.h"

#include "os/src/ScopedFileChooser.h"

namespace Pellion::Web {

GtkOpenFileDialogImpl::GtkOpenFileDialogImpl(GtkWindow* parent, const std::string& title,
                                             bool allowDirSelect, bool allowMultiSelect,
                                             const std::string& fileTypes)
    : _allowDirSelect(allowDirSelect),
      _allowMultiSelect(allowMultiSelect),
      _title(title.empty() ? "Open" : title),
      _fileTypes(fileTypes),
      _parent(parent) {}

std::vector<std::string> GtkOpenFileDialogImpl::doShow() {
  ScopedFileChooser chooser(_title, _parent, GTK_FILE_CHOOSER_ACTION_OPEN, "gtk-open");
  chooser.addFileTypes(_fileTypes);
  if (_allowMultiSelect) {
    gtk_file_chooser_set_select_multiple(chooser.get(), TRUE);
  }
  return chooser.run();
}

}  // namespace Pellion::Web
