#ifndef OS_SRC_SAVE_FILE_DIALOG_H_
#define OS_SRC_SAVE_FILE_DIALOG_H_

#include "os/src/FileDialog.h"

namespace Pellion::Web {

// Lets the user name a file to be written. The result is the JSON string of its path.
class SaveFileDialog : public FileDialog {
 public:
  // `suggestedName` stands in the name field at first; may be empty.
  SaveFileDialog(unsigned long window, const std::string& title, const std::string& suggestedName,
                 const std::string& fileTypes)
      : FileDialog(window, title), _suggestedName(suggestedName), _fileTypes(fileTypes) {}

 private:
  std::unique_ptr<IDialogImpl> createImpl(GtkWindow* parent) const override;
  const char* errorText() const override;
  std::string toResultText(const std::vector<std::string>& paths) const override;

  const std::string _suggestedName;
  const std::string _fileTypes;
};

}  // namespace Pellion::Web

#endif  // OS_SRC_SAVE_FILE_DIALOG_H_
