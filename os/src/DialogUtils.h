#ifndef OS_SRC_DIALOG_UTILS_H_
#define OS_SRC_DIALOG_UTILS_H_

#include <gtk/gtk.h>

#include <string>
#include <vector>

#include "os/src/FileType.h"

namespace Pellion::Web::DialogUtils {

// Reads the page's JSON list: [{"filter_name": "Images", "extensions": ["png", "jpg"]}, ...]. An
// empty text gives an empty list. Throws a runtime error (kErrorInvalidFileTypesJson) for anything
// else.
std::vector<FileType> parseFileTypesJson(const std::string& text);

// Adds one filter for each entry that has a name and extensions; the first one is active.
void gtk_file_chooser_add_filetypes(GtkFileChooser* chooser,
                                    const std::vector<FileType>& fileTypes);

// The index of the first entry that holds exactly `extension`, or -1.
int findExtension(const std::vector<FileType>& fileTypes, const std::string& extension);

// The text with every invalid byte replaced, as GTK wants it.
std::string toValidUtf8(const std::string& text);

}  // namespace Pellion::Web::DialogUtils

#endif  // OS_SRC_DIALOG_UTILS_H_
