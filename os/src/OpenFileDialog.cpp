#include "os/src/OpenFileDialog.h"

#include "os/src/GtkOpenFileDialogImpl.h"
#include "ovlib/ovlog.h"
#include "plugin/src/Constants.h"

namespace Pellion::Web {

OpenFileDialog::OpenFileDialog(unsigned long window, const std::string& title,
                               bool allowDirectories, bool allowMultiple,
                               const std::string& fileTypes)
    : FileDialog(window, title),
      _allowDirectories(allowDirectories),
      _allowMultiple(allowMultiple),
      _fileTypes(fileTypes) {
  ov_log("OpenFileDialog() - title=%s, allowDirectories=%u, allowMultiple=%u, fileTypes=%s",
         title.c_str(), static_cast<unsigned>(allowDirectories),
         static_cast<unsigned>(allowMultiple), fileTypes.c_str());
}

std::unique_ptr<IDialogImpl> OpenFileDialog::createImpl(GtkWindow* parent) const {
  return std::make_unique<GtkOpenFileDialogImpl>(parent, title(), _allowDirectories, _allowMultiple,
                                                 _fileTypes);
}

const char* OpenFileDialog::errorText() const {
  return kErrorUnexpectedFileDialog;
}

}  // namespace Pellion::Web
