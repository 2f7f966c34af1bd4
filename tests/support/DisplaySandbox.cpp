#include "tests/support/DisplaySandbox.h"

#include <filesystem>

namespace test_support {

DisplaySandbox::DisplaySandbox() {
  std::filesystem::create_directories(path(".local/share"));
  std::filesystem::create_directories(path(".config/gtk-2.0"));
  writeFile(path(".config/gtk-2.0/gtkfilechooser.ini"),
            "[Filechooser Settings]\nLocationMode=filename-entry\nStartupMode=cwd\n");
}

}  // namespace test_support
