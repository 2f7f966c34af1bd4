#include <gtk/gtk.h>

#include <algorithm>
#include <filesystem>
#include <memory>

#include "os/src/OpenFileDialog.h"
#include "os/src/OpenFolderDialog.h"
#include "os/src/SaveFileDialog.h"
#include "ovlib/ovlog.h"
#include "tests/support/DisplaySandbox.h"

using namespace Pellion::Web;
namespace fs = std::filesystem;
namespace user = test_support::user;
using test_support::UserThread;
using Paths = std::vector<std::string>;

namespace {

constexpr char kImages[] = R"([{"filter_name":"Images","extensions":["png"]}])";

unsigned countToplevels() {
  GList* windows = gtk_window_list_toplevels();
  const unsigned count = g_list_length(windows);
  g_list_free(windows);
  return count;
}

}  // namespace

class FileDialogs : public test_support::DisplaySandbox {
 protected:
  FileDialogs() {
    fs::create_directories(path("folder/one"));
    fs::create_directories(path("folder/two"));
    for (const char* name : {"a.png", "two/d.png", "two/e.png", "two/f.txt"}) {
      test_support::writeFile(path(std::string("folder/") + name), name);
    }
    fs::current_path(path("folder"));
  }

  // Shows the dialog while a user takes `steps`.
  static Paths show(FileDialog& dialog, std::function<void()> steps) {
    EXPECT_TRUE(dialog.init("firefox"));
    UserThread thread(std::move(steps));
    const Paths paths = dialog.show();
    thread.join();
    return paths;
  }
};

TEST_F(FileDialogs, openAnswersAllFilesThatTheFilterShows) {
  OpenFileDialog dialog(0, "Pick images", false, true, kImages);
  Paths paths = show(dialog, [&] { user::chooseAllIn("Pick images", path("folder/two")); });
  std::sort(paths.begin(), paths.end());
  EXPECT_EQ(paths, (Paths{path("folder/two/d.png"), path("folder/two/e.png")}));
}

TEST_F(FileDialogs, folderAnswersTheChosenFolders) {
  OpenFolderDialog dialog(0, "Where to?", true);
  Paths paths = show(dialog, [] { user::chooseAll("Where to\\?", "alt+o"); });
  std::sort(paths.begin(), paths.end());
  EXPECT_EQ(paths, (Paths{path("folder/one"), path("folder/two")}));
}

TEST_F(FileDialogs, saveSuggestsTheName) {
  SaveFileDialog dialog(0, "", "report \xc3\xa9.txt", "");
  const Paths paths = show(dialog, [] {
    user::enter(user::waitForWindow("Save As"));
    user::key("Return");
  });
  EXPECT_EQ(paths, Paths{path("folder/report \xc3\xa9.txt")});
  EXPECT_EQ(dialog.resultStr(), "\"" + path("folder/report \xc3\xa9.txt") + "\"");
}

TEST_F(FileDialogs, saveAsksBeforeAFileIsReplaced) {
  for (const bool replace : {true, false}) {
    SaveFileDialog dialog(0, "", "", "");
    const Paths paths = show(dialog, [&] {
      user::choosePath("Save As", path("folder/a.png"));
      user::answerOverwrite(replace);
      if (!replace) {
        user::waitForNoWindow("");
        user::cancel("Save As");
      }
    });
    EXPECT_EQ(paths, Paths{replace ? path("folder/a.png") : ""});
  }
}

TEST_F(FileDialogs, badFileTypesEndInAnErrorAndLeaveNoWindow) {
  ov_log_init(OV_LOG_FILE, dataPath("var/log/orvane-pellion-browser-plugin.log").c_str());
  OpenFileDialog job(0, "", false, false, "{}");
  ov_log_cleanup();
  EXPECT_NE(logText().find("LOG OpenFileDialog() - title=, allowDirectories=0, allowMultiple=0, "
                           "fileTypes={}\n"),
            std::string::npos);
  job.init("");
  const unsigned before = countToplevels();
  job.run();
  EXPECT_EQ(job.resultStr(),
            R"({"error":{"code":-1,"user_message":"Error displaying open file dialog: )"
            R"(Error parsing fileTypes JSON"}})");
  EXPECT_EQ(countToplevels(), before);
}
