#include <gtk/gtk.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "os/src/DialogUtils.h"
#include "os/src/GtkSetup.h"
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

bool passes(GtkFileFilter* filter, const char* name) {
  GtkFileFilterInfo info = {};
  info.contains = GTK_FILE_FILTER_DISPLAY_NAME;
  info.display_name = name;
  return gtk_file_filter_filter(filter, &info) == TRUE;
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

TEST(FileTypes, readsTheListInOrder) {
  const auto types = DialogUtils::parseFileTypesJson(
      R"([{"filter_name":"Images","extensions":["png","jpg"]},{"filter_name":"","extensions":["*"]}])");
  ASSERT_EQ(types.size(), 2u);
  EXPECT_EQ(types[0]._filterName, "Images");
  EXPECT_EQ(types[0]._extensions, (std::vector<std::string>{"png", "jpg"}));
  EXPECT_EQ(types[1]._filterName, "");
  EXPECT_TRUE(DialogUtils::parseFileTypesJson("").empty());
  EXPECT_TRUE(DialogUtils::parseFileTypesJson("[]").empty());
  EXPECT_EQ(DialogUtils::findExtension(types, "jpg"), 0);
  EXPECT_EQ(DialogUtils::findExtension(types, "JPG"), -1);
}

TEST(FileTypes, refusesWhatIsNoList) {
  for (const char* text :
       {" ", "x", "{}", "[1]", "[[]]", "null", R"([{"extensions":["a"]}])",
        R"([{"filter_name":1,"extensions":["a"]}])", R"([{"filter_name":"n"}])",
        R"([{"filter_name":"n","extensions":[]}])", R"([{"filter_name":"n","extensions":"a"}])",
        R"([{"filter_name":"n","extensions":["a",1]}])",
        R"([{"filter_name":"n","extensions":["a"]},{}])"}) {
    try {
      DialogUtils::parseFileTypesJson(text);
      ADD_FAILURE() << "accepted: " << text;
    } catch (const std::runtime_error& e) {
      EXPECT_STREQ(e.what(), "Error parsing fileTypes JSON") << text;
    }
  }
}

class FileTypeFilters : public test_support::DisplaySandbox {};

TEST_F(FileTypeFilters, areMadeOfUsableEntriesOnly) {
  ASSERT_TRUE(ensureGtkInitialised());
  GtkWidget* chooser = gtk_file_chooser_widget_new(GTK_FILE_CHOOSER_ACTION_OPEN);
  g_object_ref_sink(chooser);
  DialogUtils::gtk_file_chooser_add_filetypes(
      GTK_FILE_CHOOSER(chooser),
      {{"", {"gif"}}, {"Nothing", {}}, {"Images", {"png", "jpg"}}, {"Bad \xff name", {"txt"}}});

  GSList* filters = gtk_file_chooser_list_filters(GTK_FILE_CHOOSER(chooser));
  ASSERT_EQ(g_slist_length(filters), 2u);
  auto* images = GTK_FILE_FILTER(filters->data);
  EXPECT_STREQ(gtk_file_filter_get_name(images), "Images");
  EXPECT_TRUE(passes(images, "a.png"));
  EXPECT_TRUE(passes(images, "b.jpg"));
  EXPECT_FALSE(passes(images, "a.PNG"));
  EXPECT_FALSE(passes(images, "c.gif"));
  EXPECT_FALSE(passes(images, "jpg"));
  EXPECT_EQ(gtk_file_chooser_get_filter(GTK_FILE_CHOOSER(chooser)), images);
  g_slist_free(filters);
  g_object_unref(chooser);
}
