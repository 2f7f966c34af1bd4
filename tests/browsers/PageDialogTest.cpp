#include <gtk/gtk.h>

#include <cstdlib>
#include <filesystem>
#include <functional>

#include "plugin/src/PlugIn.h"
#include "tests/browsers/PluginFixture.h"
#include "tests/support/DisplaySandbox.h"

namespace user = test_support::user;
using test_support::Null;
using test_support::PageArguments;
using test_support::PageObject;
using test_support::PageValue;
using test_support::UserThread;

namespace {

class PageDialogs : public PluginFixture<test_support::DisplaySandbox> {
 protected:
  PageDialogs() {
    serve("{}");
    for (const char* folder : {"picked", "picked/in:side", "other"}) {
      std::filesystem::create_directory(path(folder));
    }
    for (const char* file : {"picked/a.txt", "picked/in:side/b.txt", "picked/in:side/c.txt"}) {
      test_support::writeFile(path(file), file);
    }
    std::filesystem::current_path(path("picked"));
    create();
  }

  // Calls a blocking method while a user takes `steps`.
  std::optional<PageValue> callWhile(std::function<void()> steps, const std::string& method,
                                     const PageArguments& arguments) {
    UserThread thread(std::move(steps));
    const auto result = call(method, arguments);
    thread.join();
    return result;
  }

  // Calls an Async method while a user takes `steps`, until the page's function was called.
  std::string answerWhile(std::function<void()> steps, const std::string& method,
                          PageArguments arguments) {
    PageObject* function = browser.newFunction([this](const PageArguments&) {
      EXPECT_EQ(std::nullopt, call("runOpenFolderDialog")) << "not refused for a dialog still open";
      return PageValue(Null());
    });
    arguments.emplace_back(static_cast<NPObject*>(function));
    EXPECT_EQ(PageValue(Null()), call(method, arguments));
    UserThread thread(std::move(steps));
    EXPECT_TRUE(runUntil([&] { return !function->calls().empty(); }));
    thread.join();
    expectLetGo(function);
    return std::get<std::string>(function->calls().at(0).at(0));
  }

  // Whether the application is asked for a download to there.
  bool mayDownloadTo(const std::string& destination) {
    const size_t before = requestsFor("POST /transfers/").size();
    call("startDownloadToPath", {"http://host/file", destination});
    return requestsFor("POST /transfers/").size() > before;
  }
};

TEST_F(PageDialogs, blockUntilTheUserHasChosen) {
  EXPECT_EQ(PageValue(path("picked/a.txt")),
            callWhile([&] { user::choosePath("Open", path("picked/a.txt")); }, "runOpenFileDialog",
                      {false, "false"}));
  const std::string folder = path("picked/in\\:side");
  EXPECT_EQ(PageValue(folder + "/b.txt:" + folder + "/c.txt"),
            callWhile([&] { user::chooseAllIn("Open", path("picked/in:side")); },
                      "runOpenFileDialog", {true, true}));
  EXPECT_FALSE(mayDownloadTo(path("picked/a.txt"))) << "an open dialog grants nothing";
  EXPECT_EQ(PageValue(""),
            callWhile([] { user::cancel("Open"); }, "runOpenFileDialog", {false, false}));
}

TEST_F(PageDialogs, aCancelledSaveTakesTheGrantBackAndACancelledFolderKeepsIt) {
  const auto pick = [&] {
    return callWhile([&] { user::choosePath("Select Folder", path("other")); },
                     "runOpenFolderDialog", {"true"});
  };
  EXPECT_EQ(PageValue(path("other")), pick());
  EXPECT_EQ(PageValue(""),
            callWhile([] { user::cancel("Select Folder"); }, "runOpenFolderDialog", {false}));
  EXPECT_TRUE(mayDownloadTo(path("other/below")));

  EXPECT_EQ(PageValue(path("other")), pick());
  EXPECT_EQ(PageValue(""),
            callWhile([] { user::cancel("Save As"); }, "runSaveFileDialog", {"name"}));
  EXPECT_FALSE(mayDownloadTo(path("other")));
}

TEST_F(PageDialogs, asynchronousOnesTellThePagesFunction) {
  const std::string types = R"([{"filter_name":"Texts","extensions":["txt"]}])";
  EXPECT_EQ("[\"" + path("picked/a.txt") + "\"]",
            answerWhile([&] { user::choosePath("Choose", path("picked/a.txt")); },
                        "runOpenFileDialogAsync", {"Choose", false, types}));
  EXPECT_EQ("[]",
            answerWhile([] { user::cancel("Open"); }, "runOpenFileDialogAsync", {"", "true", ""}));
  EXPECT_EQ("\"\"", answerWhile([] { user::cancel("Save As"); }, "runSaveFileDialogAsync",
                                {"", "name", types}));
  const std::string folders = answerWhile([&] { user::choosePath("Where", path("other")); },
                                          "runOpenFolderDialogAsync", {"Where", false});
  EXPECT_EQ("[\"" + path("other") + "\"]", folders);
  EXPECT_TRUE(mayDownloadTo(path("other")));
  EXPECT_TRUE(logged({"DBG DialogCallback::handleCallback() - result=4 resultStr=" + folders,
                      "DBG callbackBrowser - msg=" + folders}));
  for (const std::string& unreadable : {std::string("{"), std::string(1000000, '[')}) {
    EXPECT_EQ(R"({"error":{"code":-1,"user_message":"Error displaying save file dialog: )"
              R"(Error parsing fileTypes JSON"}})",
              answerWhile([] {}, "runSaveFileDialogAsync", {"", "name", unreadable}));
  }
}

// The chooser of that title on the screen, or null.
GtkDialog* findDialog(const char* title) {
  GtkDialog* found = nullptr;
  GList* windows = gtk_window_list_toplevels();
  for (GList* window = windows; window != nullptr; window = window->next) {
    auto* widget = static_cast<GtkWidget*>(window->data);
    if (GTK_IS_FILE_CHOOSER_DIALOG(widget) && gtk_widget_get_visible(widget) &&
        g_strcmp0(gtk_window_get_title(GTK_WINDOW(widget)), title) == 0) {
      found = GTK_DIALOG(widget);
    }
  }
  g_list_free(windows);
  return found;
}

// What happens at the screen, one after the other, in whatever main loop runs: each action waits
// until it is its turn and `ready` holds.
class Script {
 public:
  void add(
      std::function<bool()> ready, std::function<void()> action = [] {}) {
    _steps.emplace_back(std::move(ready), std::move(action));
  }
  void run() {
    scheduleTick();
    while (_step < _steps.size()) {
      g_main_context_iteration(nullptr, TRUE);
    }
  }

 private:
  void scheduleTick() {
    const GSourceFunc onTick = [](gpointer script) -> gboolean {
      static_cast<Script*>(script)->tick();
      return FALSE;
    };
    g_timeout_add(30, onTick, this);
  }
  // An action may block in a dialog, so the next tick is made sure of before.
  void tick() {
    if (++_ticks > 1000) {
      std::fprintf(stderr, "step %zu is never ready\n", _step);
      std::abort();
    }
    const auto& [ready, action] = _steps[_step];
    if (!ready()) {
      return scheduleTick();
    }
    if (++_step < _steps.size()) {
      scheduleTick();
    }
    action();
  }

  std::vector<std::pair<std::function<bool()>, std::function<void()>>> _steps;
  size_t _step = 0;
  int _ticks = 0;
};

class TwoDialogs : public PageDialogs {
 protected:
  struct Element {
    const char* title;
    std::string method;
    PageArguments arguments;
    PageArguments posted;
    std::string picked;
    std::string json;
    std::unique_ptr<ovOrvaneWebPlugin> plugin = nullptr;
    NPP instance = nullptr;
    PageObject* told = nullptr;
    std::optional<PageValue> returned = std::nullopt;
    bool watched = false;
    bool over = false;      // the call of its dialog has returned
    bool answered = false;  // by the user
  };

  void open(Element& element) {
    element.instance = browser.openInstance();
    Parameters parameters;
    element.plugin = std::make_unique<ovOrvaneWebPlugin>(element.instance, parameters);
    element.instance->pdata = element.plugin.get();
    element.told = browser.newFunction();
    element.posted.emplace_back(element.told);
  }
  void close(Element& element) {
    element.plugin.reset();
    element.instance->pdata = nullptr;
    browser.closeInstance(element.instance);
  }
  std::optional<PageValue> callOn(const Element& element, const std::string& method,
                                  const PageArguments& arguments = {}) {
    return browser.call(element.plugin->objectForWebScript(), method, arguments);
  }
  void ask(Element& element, bool blocking) {
    element.returned = blocking ? callOn(element, element.method, element.arguments)
                                : callOn(element, element.method + "Async", element.posted);
    element.over = true;
  }
  // Once the chooser has read its folder and names what is picked, it takes the answer.
  static bool answer(Element& element) {
    GtkDialog* dialog = findDialog(element.title);
    if (dialog == nullptr || element.answered) {
      return element.answered;
    }
    if (element.watched) {
      gchar* named = gtk_file_chooser_get_filename(GTK_FILE_CHOOSER(dialog));
      if (element.picked == (named != nullptr ? named : "")) {
        gtk_dialog_response(dialog, GTK_RESPONSE_ACCEPT);
      }
      g_free(named);
      return element.answered;
    }
    element.watched = true;
    const auto onResponse = +[](GtkDialog*, gint, bool* answered) { *answered = true; };
    g_signal_connect(dialog, "response", G_CALLBACK(onResponse), &element.answered);
    if (element.method == "runSaveFileDialog") {
      const std::string folder = std::filesystem::path(element.picked).parent_path();
      gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(dialog), folder.c_str());
    } else {
      gtk_file_chooser_set_filename(GTK_FILE_CHOOSER(dialog), element.picked.c_str());
    }
    return false;
  }

  // The second dialog's loop runs inside the first one's.
  void check(bool blocking, size_t destroyed, size_t answeredFirst) {
    const std::string save = path("other/new");
    const std::string folder = path("picked");
    Element elements[] = {
        {"Save As", "runSaveFileDialog", {"new"}, {"", "new", ""}, save, "\"" + save + "\""},
        {"Select Folder",
         "runOpenFolderDialog",
         {true},
         {"", true},
         folder,
         "[\"" + folder + "\"]"}};
    const auto always = [] { return true; };
    Script script;
    script.add(always, [&] { open(elements[0]), open(elements[1]); });
    for (Element& element : elements) {
      script.add(always, [&] { ask(element, blocking); });
      script.add([&] { return findDialog(element.title) != nullptr; },
                 [&] {
                   EXPECT_EQ(PageValue(""), callOn(element, "runOpenFolderDialog"));
                   EXPECT_EQ(PageValue(R"({"error":{"code":-1,"user_message":)"
                                       R"("A dialog is already open"}})"),
                             callOn(element, "runOpenFileDialogAsync"));
                 });
    }
    script.add(always, [&] { close(elements[destroyed]); });
    for (const size_t next : {answeredFirst, 1 - answeredFirst}) {
      script.add([&, next] { return answer(elements[next]); });
    }
    for (const Element& element : elements) {
      script.add([&] { return findDialog(element.title) == nullptr && element.over; });
    }
    script.run();
    while (g_main_context_iteration(nullptr, FALSE)) {
    }

    Element& survivor = elements[1 - destroyed];
    EXPECT_TRUE(survivor.plugin->getPlugin()->allowDestRoot(survivor.picked));
    for (const Element& element : elements) {
      const bool lives = &element == &survivor;
      const PageValue path = lives ? element.picked : "";
      EXPECT_EQ(blocking ? path : PageValue(Null()), element.returned);
      ASSERT_EQ(lives && !blocking ? 1u : 0u, element.told->calls().size());
      EXPECT_EQ(1u, element.told->referenceCount);
    }
    if (!blocking) {
      EXPECT_EQ(PageValue(survivor.json), survivor.told->calls()[0][0]);
    }
    EXPECT_EQ(std::nullopt, callOn(survivor, survivor.method))
        << "and not refused for a dialog still open";
    close(survivor);
  }
};

TEST_F(TwoDialogs, oneGoesWithItsElementAndTheOtherIsAnswered) {
  for (const bool blocking : {false, true}) {
    for (const size_t destroyed : {0, 1}) {
      for (const size_t answeredFirst : {0, 1}) {
        SCOPED_TRACE(testing::Message() << (blocking ? "blocking" : "posted") << ", destroyed "
                                        << destroyed << ", answered first " << answeredFirst);
        check(blocking, destroyed, answeredFirst);
      }
    }
  }
}

}  // namespace
