#include <gtk/gtk.h>

#include <filesystem>
#include <functional>
#include <future>
#include <mutex>
#include <stdexcept>

#include "tests/browsers/PluginFixture.h"
#include "tests/support/DisplaySandbox.h"

namespace user = test_support::user;
using test_support::Null;
using test_support::PageArguments;
using test_support::PageObject;
using test_support::PageValue;
using test_support::UserThread;

namespace {

constexpr char kAlreadyOpen[] =
    R"({"error":{"code":-1,"user_message":"A dialog is already open"}})";

// The thread sanitizer does not see the hand-over inside GLib, but this.
std::mutex handOver;

// Runs `action` on the main thread, from a user's thread, and waits for its end.
void onMainThread(std::function<void()> action) {
  std::unique_lock<std::mutex> lock(handOver);
  std::packaged_task<void()> task(std::move(action));
  auto done = task.get_future();
  g_idle_add(
      [](gpointer data) -> gboolean {
        std::unique_lock<std::mutex>(handOver).unlock();
        (*static_cast<std::packaged_task<void()>*>(data))();
        return FALSE;
      },
      &task);
  lock.unlock();
  done.get();
}

// Runs the main loop until a user has taken `steps`.
void runMainLoopFor(std::function<void()> steps) {
  bool over = false;
  UserThread thread([&] {
    steps();
    onMainThread([&] { over = true; });
  });
  while (!over) {
    g_main_context_iteration(nullptr, TRUE);
  }
  thread.join();
}

void waitUntilCalled(const PageObject* function) {
  const bool came = test_support::waitFor([&] {
    bool called = false;
    onMainThread([&] { called = !function->calls().empty(); });
    return called;
  });
  if (!came) {
    throw std::runtime_error("the page's function is not called");
  }
}

}  // namespace

class PageDialogs : public PluginFixture<test_support::DisplaySandbox> {
 protected:
  PageDialogs() {
    serve("{}");
    for (const char* folder : {"picked", "picked/in:side", "other"}) {
      std::filesystem::create_directory(path(folder));
    }
    test_support::writeFile(path("picked/a.txt"), "a");
    test_support::writeFile(path("picked/in:side/b.txt"), "b");
    test_support::writeFile(path("picked/in:side/c.txt"), "c");
    std::filesystem::current_path(path("picked"));
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
    runMainLoopFor([&] {
      steps();
      waitUntilCalled(function);
    });
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
  create();
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

TEST_F(PageDialogs, saveGrantsOneDownloadToThePlace) {
  create();
  const std::string target = path("other/new file.bin");
  EXPECT_EQ(PageValue(target),
            callWhile([&] { user::choosePath("Save As", target); }, "runSaveFileDialog", {"x"}));
  EXPECT_TRUE(mayDownloadTo(target));
  EXPECT_FALSE(mayDownloadTo(target));
  EXPECT_TRUE(
      logged({"Accepted download to " + target + " (user selected " + target + ")",
              "ERR The website attempted to transfer to an unauthorized directory: " + target}));
}

TEST_F(PageDialogs, aCancelledSaveTakesTheGrantBackAndACancelledFolderKeepsIt) {
  create();
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
  create();
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
  const std::string target = path("other/new file.bin");
  EXPECT_EQ("\"" + target + "\"", answerWhile([&] { user::choosePath("Keep", target); },
                                              "runSaveFileDialogAsync", {"Keep", "", ""}));
  EXPECT_TRUE(mayDownloadTo(target));
  EXPECT_TRUE(logged({"DBG DialogCallback::handleCallback() - result=4 resultStr=" + folders,
                      "DBG callbackBrowser - msg=" + folders}));
  EXPECT_EQ(R"({"error":{"code":-1,"user_message":"Error displaying save file dialog: )"
            R"(Error parsing fileTypes JSON"}})",
            answerWhile([] {}, "runSaveFileDialogAsync", {"", "name", "{"}));
}

TEST_F(PageDialogs, refuseASecondOneOfTheirInstanceOnly) {
  create();
  const auto steps = [&] {
    user::waitForWindow("First");
    onMainThread([&] {
      PageObject* function = browser.newFunction();
      EXPECT_EQ(PageValue(kAlreadyOpen),
                call("runSaveFileDialogAsync", {"", "", "", static_cast<NPObject*>(function)}));
      EXPECT_EQ(PageValue(kAlreadyOpen), call("runOpenFileDialogAsync"));
      EXPECT_EQ(PageValue(""), call("runOpenFolderDialog", {true}));
    });
    std::unique_ptr<ovOrvaneWebPlugin> other;
    NPP otherInstance = nullptr;
    PageObject* function = nullptr;
    onMainThread([&] {
      otherInstance = browser.openInstance();
      Parameters parameters;
      other = std::make_unique<ovOrvaneWebPlugin>(otherInstance, parameters);
      otherInstance->pdata = other.get();
      function = browser.newFunction();
      NPObject* otherObject = other->objectForWebScript();
      EXPECT_EQ(PageValue(Null()),
                browser.call(otherObject, "runOpenFolderDialogAsync",
                             {"Second", false, static_cast<NPObject*>(function)}));
    });
    user::cancel("Second");
    waitUntilCalled(function);
    onMainThread([&] {
      other.reset();
      browser.closeInstance(otherInstance);
    });
    user::cancel("First");
  };
  EXPECT_EQ("[]", answerWhile(steps, "runOpenFileDialogAsync", {"First", false, ""}));
}

TEST_F(PageDialogs, outliveTheirInstanceAndDropTheAnswer) {
  create();
  const auto destroyThenSave = [&](const std::string& title) {
    user::waitForWindow(title);
    onMainThread([&] { destroy(); });
    user::choosePath(title, path("other/new"));
  };
  callWhile([&] { destroyThenSave("Save As"); }, "runSaveFileDialog", {"name"});

  create();
  PageObject* function = browser.newFunction();
  EXPECT_EQ(PageValue(Null()),
            call("runSaveFileDialogAsync", {"Late", "name", "", static_cast<NPObject*>(function)}));
  runMainLoopFor([&] {
    destroyThenSave("Late");
    user::waitForNoWindow("Late");
  });
  EXPECT_TRUE(function->calls().empty());
  expectLetGo(function);
}

TEST_F(PageDialogs, neverShowWhenTheInstanceGoesFirst) {
  create();
  PageObject* function = browser.newFunction();
  call("runOpenFolderDialogAsync", {"Never", false, static_cast<NPObject*>(function)});
  EXPECT_EQ(PageValue(kAlreadyOpen), call("runOpenFileDialogAsync"));
  destroy();
  bool stepOver = false;
  g_timeout_add(
      20, [](gpointer flag) -> gboolean { return *static_cast<bool*>(flag) = true, FALSE; },
      &stepOver);
  while (!stepOver) {
    g_main_context_iteration(nullptr, TRUE);
  }
  EXPECT_TRUE(function->calls().empty());
  expectLetGo(function);
  EXPECT_EQ(1u, logLines("RunnableScheduler::stopRunnables() - stopping").size());
}
