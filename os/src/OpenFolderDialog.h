#ifndef OS_SRC_OPEN_FOLDER_DIALOG_H_
#define OS_SRC_OPEN_FOLDER_DIALOG_H_

#include "os/src/FileDialog.h"

namespace Pellion::Web {

// Lets the user pick folders. The result is the JSON array of the paths, "[]" after a cancel.
class OpenFolderDialog : public FileDialog {
 public:
  OpenFolderDialog(unsigned long window, const std::string& title, bool allowMultiple)
      : FileDialog(window, title), _allowMultiple(allowMultiple) {}

 private:
  std::unique_ptr<IDialogImpl> createImpl(GtkWindow* parent) const override;
  const char* errorText() const override;

  const bool _allowMultiple;
};

}  // namespace Pellion::Web

#endif  // OS_SRC_OPEN_FOLDER_DIALOG_H_
