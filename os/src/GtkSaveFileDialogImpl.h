#ifndef OS_SRC_GTK_SAVE_FILE_DIALOG_IMPL_H_
#define OS_SRC_GTK_SAVE_FILE_DIALOG_IMPL_H_

#include <gtk/gtk.h>

#include "os/src/IDialogImpl.h"

namespace Pellion::Web {

// The GTK chooser for a file to be written; it asks before an existing file is replaced. Always
// returns one path, the empty one after a cancel. `parent` is borrowed, may be null, and must
// outlive it.
class GtkSaveFileDialogImpl : public IDialogImpl {
 public:
  GtkSaveFileDialogImpl(GtkWindow* parent, const std::string& title,
                        const std::string& saveFileName, const std::string& fileTypes);

 protected:
  void doClose() override {}
  void doOnTimeout() override {}
  std::vector<std::string> doShow() override;

 private:
  const std::string _saveFileName;
  const std::string _title;
  const std::string _fileTypes;
  GtkWindow* const _parent;
};

}  // namespace Pellion::Web

#endif  // OS_SRC_GTK_SAVE_FILE_DIALOG_IMPL_H_
