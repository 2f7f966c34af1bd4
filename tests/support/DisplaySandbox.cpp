#include "tests/support/DisplaySandbox.h"

#include <cstdlib>
#include <filesystem>

// GTK's file choosers leave some texts of theirs behind, and take over from threads of GIO's whose
// locks the sanitizer cannot see.
extern "C" {
const char* __lsan_default_suppressions();
const char* __tsan_default_suppressions();

__attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:libglib-2.0.so\n";
}

__attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
  return "race:libgtk-x11-2.0.so\n";
}
}

namespace test_support {

DisplaySandbox::DisplaySandbox() {
  for (const char* folder : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"}) {
    unsetenv(folder);
  }
  std::filesystem::create_directories(path(".local/share"));
  std::filesystem::create_directories(path(".config/gtk-2.0"));
  writeFile(path(".config/gtk-2.0/gtkfilechooser.ini"),
            "[Filechooser Settings]\nLocationMode=filename-entry\nStartupMode=cwd\n");
}

}  // namespace test_support
