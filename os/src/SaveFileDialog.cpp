#include "os/src/SaveFileDialog.h"

#include "os/src/GtkSaveFileDialogImpl.h"
#include "plugin/src/Constants.h"
#include "plugin/src/PathEscaper.h"

namespace Pellion::Web {

std::unique_ptr<IDialogImpl> SaveFileDialog::createImpl(GtkWindow* parent) const {
  return std::make_unique<GtkSaveFileDialogImpl>(parent, title(), _suggestedName, _fileTypes);
}

const char* SaveFileDialog::errorText() const {
  return kErrorUnexpectedSaveDialog;
}

std::string SaveFileDialog::toResultText(const std::vector<std::string>& paths) const {
  // Deliberate: the chooser answers a cancel with one empty path, so that the page then gets the
  // JSON string of an empty path; "null" stands for an empty list only.
  return paths.empty() ? "null" : PathEscaper::toJsonStr(paths.front(), true);
}

}  // namespace Pellion::Web
