#include "os/src/OpenFolderDialog.h"

#include "os/src/GtkOpenFolderDialogImpl.h"
#include "plugin/src/Constants.h"

namespace Pellion::Web {

std::unique_ptr<IDialogImpl> OpenFolderDialog::createImpl(GtkWindow* parent) const {
  return std::make_unique<GtkOpenFolderDialogImpl>(parent, title(), _allowMultiple);
}

const char* OpenFolderDialog::errorText() const {
  return kErrorUnexpectedFolderDialog;
}

}  // namespace Pellion::Web
