#ifndef OS_SRC_OPEN_FILE_DIALOG_H_
#define OS_SRC_OPEN_FILE_DIALOG_H_

#include "os/src/FileDialog.h"

namespace Pellion::Web {

// Lets the user pick existing files. The result is the JSON array of the paths, "[]" after a
// cancel.
class OpenFileDialog : public FileDialog {
 public:
  // `fileTypes` is the page's JSON list of file types; empty for all files.
  OpenFileDialog(unsigned long window, const std::string& title, bool allowDirectories,
                 bool allowMultiple, const std::string& fileTypes);

 private:
  std::unique_ptr<IDialogImpl> createImpl(GtkWindow* parent) const override;
  const char* errorText() const override;

  const bool _allowDirectories;
  const bool _allowMultiple;
  const std::string _fileTypes;
};

}  // namespace Pellion::Web

#endif  // OS_SRC_OPEN_FILE_DIALOG_H_
