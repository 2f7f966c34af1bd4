#ifndef OS_SRC_SCOPED_FILE_CHOOSER_H_
#define OS_SRC_SCOPED_FILE_CHOOSER_H_

#include <gtk/gtk.h>

#include <string>
#include <vector>

#include "os/src/GlibGuards.h"

namespace Pellion::Web {

// Owns one GTK file chooser dialog from its making to its end, whatever is thrown in between.
class ScopedFileChooser {
 public:
  // `acceptButton` is a stock id. Throws a runtime error without a display.
  ScopedFileChooser(const std::string& title, GtkWindow* parent, GtkFileChooserAction action,
                    const char* acceptButton);
  ScopedFileChooser(const ScopedFileChooser&) = delete;
  ScopedFileChooser& operator=(const ScopedFileChooser&) = delete;

  GtkFileChooser* get() const { return GTK_FILE_CHOOSER(_dialog.get()); }

  // Adds the filters of the page's JSON list. Throws a runtime error when it is malformed.
  void addFileTypes(const std::string& fileTypes);
  // Runs a nested main loop until the user answers; the picked local paths in the chooser's order,
  // none unless the user accepted.
  std::vector<std::string> run();

 private:
  OwnedToplevel _dialog;
};

}  // namespace Pellion::Web

#endif  // OS_SRC_SCOPED_FILE_CHOOSER_H_
