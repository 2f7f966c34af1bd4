#ifndef OS_SRC_GTK_OPEN_FOLDER_DIALOG_IMPL_H_
#define OS_SRC_GTK_OPEN_FOLDER_DIALOG_IMPL_H_

#include <gtk/gtk.h>

#include "os/src/IDialogImpl.h"

namespace Pellion::Web {

// The GTK chooser for folders. `parent` is borrowed, may be null, and must outlive it.
class GtkOpenFolderDialogImpl : public IDialogImpl {
 public:
  GtkOpenFolderDialogImpl(GtkWindow* parent, const std::string& title, bool allowMultipleFiles);

 protected:
  void doClose() override {}
  void doOnTimeout() override {}
  std::vector<std::string> doShow() override;

 private:
  const bool _allowMultipleFiles;
  const std::string _title;
  GtkWindow* const _parent;
};

}  // namespace Pellion::Web

#endif  // OS_SRC_GTK_OPEN_FOLDER_DIALOG_IMPL_H_
