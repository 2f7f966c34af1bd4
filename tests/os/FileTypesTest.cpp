#include <gtk/gtk.h>

#include <stdexcept>

#include "os/src/DialogUtils.h"
#include "os/src/GtkSetup.h"
#include "tests/support/DisplaySandbox.h"

using Pellion::Web::FileType;
namespace DialogUtils = Pellion::Web::DialogUtils;

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

namespace {

bool passes(GtkFileFilter* filter, const char* name) {
  GtkFileFilterInfo info = {};
  info.contains = GTK_FILE_FILTER_DISPLAY_NAME;
  info.display_name = name;
  return gtk_file_filter_filter(filter, &info) == TRUE;
}

}  // namespace

class FileTypeFilters : public test_support::DisplaySandbox {};

TEST_F(FileTypeFilters, areMadeOfUsableEntriesOnly) {
  ASSERT_TRUE(Pellion::Web::ensureGtkInitialised());
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
