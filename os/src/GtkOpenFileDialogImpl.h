#ifndef OS_SRC_GTK_OPEN_FILE_DIALOG_IMPL_H_
#define OS_SRC_GTK_OPEN_FILE_DIALOG_IMPL_H_

#include <gtk/gtk.h>

#include "os/src/IDialogImpl.h"

namespace Pellion::Web {

// The GTK chooser for existing files. `parent` is borrowed, may be null, and must outlive it.
class GtkOpenFileDialogImpl : public IDialogImpl {
 public:
  GtkOpenFileDialogImpl(GtkWindow* parent, const std::string& title, bool allowDirSelect,
                        bool allowMultiSelect, const std::string& fileTypes);

 protected:
  void doClose() override {}
  void doOnTimeout() override {}
  std::vector<std::string> doShow() override;

 private:
  // Deliberate: stored and not used; this chooser picks files only.
  [[maybe_unused]] const bool _allowDirSelect;
  const bool _allowMultiSelect;
  const std::string _title;
  const std::string _fileTypes;
  GtkWindow* const _parent;
};

}  // namespace Pellion::Web

#endif  // OS_SRC_GTK_OPEN_FILE_DIALOG_IMPL_H_
