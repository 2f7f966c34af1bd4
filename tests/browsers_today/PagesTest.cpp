#include <gmock/gmock.h>

#include <cstdlib>
#include <regex>
#include <set>

#include "tests/browsers_today/BrowserPage.h"
#include "tests/support/ChildProgram.h"

namespace test_support {
namespace {

using Lines = std::set<std::string>;

// Where today's browsers differ from the engine of the plugin's time, both alike.
// docs/differences.md says the same to those who write pages.
const struct {
  const char *what, *once, *today;
} kDifferences[] = {
    // The members are the extension's, on the prototype of all elements of the kind; before, each
    // element was a script object of the browser's.
    {"type of the element", R"("function")", R"("object")"},
    {"the element called", R"("throws Error: Error calling method on NPObject.")",
     R"("throws TypeError: plugin is not a function")"},
    {"a method as a text", R"("function queryVersion() { [native code] }")",
     R"("[name](...args) { return callMethod(this, name, args); }")"},
    {"a method is its own", "true", "false"},
    {"a method read twice is the same", "false", "true"},
    {"a method called on a paragraph", R"("throws TypeError: Type error")",
     R"("throws TypeError: This is no element of the plugin")"},
    {"a method without its element", R"("throws TypeError: Type error")",
     R"("throws TypeError: This is no element of the plugin")"},
    {"new on a method",
     R"x("throws TypeError: function is not a constructor (evaluating 'new plugin.queryVersion()')")x",
     R"("throws TypeError: plugin.queryVersion is not a constructor")"},
    // What stands inside a working object element is for browsers without the plugin.
    {"type of a method of the embed within", R"("function")", R"("undefined")"},
    // The element has its window from its beginning; that engine gives it later.
    {"a drop at once", R"("throws Error: Error calling method on NPObject.")", ""},
    // Half a character cannot travel as UTF-8: that engine made three of it, now U+FFFD is.
    {"half a character", "4", "2"},
    // A page's function is called as one, not as a method of itself.
    {"whether the window is an answer's this", "false", "true"},
};

class PagesToday : public BrowserPage {
 protected:
  PagesToday() { allow("127.0.0.1"); }

  Lines seenInTodaysBrowser(const std::vector<std::string>& pages) {
    Lines lines;
    for (const std::string& page : pages) {
      open(address(page));
      for (std::string line; !isLast(line = waitForLine(""));) {
        lines.insert(line);
      }
    }
    return lines;
  }

  Lines seenInQtWebKit(const std::vector<std::string>& pages) {
    setenv("MOZ_PLUGIN_PATH", MODULE_DIRECTORY, 1);
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    setenv("QT_QPA_PLATFORMTHEME", "none", 1);
    const std::regex place(" \\(http://[^ ]*:\\d+\\)$");  // added by the host program
    Lines lines;
    for (const std::string& page : pages) {
      ChildProgram host({WEBKIT_HOST, address(page), "60"});
      for (std::string line; !isLast(line = host.readLine());) {
        lines.insert(std::regex_replace(line, place, ""));
      }
    }
    return lines;
  }

 private:
  static bool isLast(const std::string& line) { return line.rfind("PAGE DONE", 0) == 0; }
};

TEST_P(PagesToday, seeWhatAnEngineOfThePluginsTimeShows) {
  // The first tells the browser that the site is allowed: from then on the plugin is listed.
  const std::vector<std::string> pages = {"pinning.html?report=yes&host=127.0.0.1",
                                          "surface.html?report=yes", "instances.html?report=yes",
                                          "throwing.html?report=yes", "members.html?report=yes"};
  Lines expected = seenInQtWebKit(pages);
  EXPECT_GT(expected.size(), 150u);
  for (const auto& [what, once, today] : kDifferences) {
    const std::string begin = std::string("seen: ") + what + ": ";
    EXPECT_EQ(expected.erase(begin + once), 1u) << what;
    expected.insert(begin + (*today != 0 ? today : "undefined"));
  }
  EXPECT_THAT(seenInTodaysBrowser(pages), testing::ContainerEq(expected));
}

INSTANTIATE_TEST_SUITE_P(Browsers, PagesToday, testing::Values("firefox", "chromium"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
}  // namespace test_support
