#include <gmock/gmock.h>

#include <filesystem>

#include "tests/browsers_today/BrowserPage.h"
#include "tests/support/WaitFor.h"

namespace test_support {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class ButtonToday : public BrowserPage {
 protected:
  // The page of the toolbar's button, as a user opens it by the keys when all is well or broken;
  // copies all its words and pastes them into the page's field, until they have come.
  void expectButtonSays(const std::vector<std::string>& texts, const std::string& screenshot) {
    open(address("button.html"));
    waitForLine("ready");
    std::string said;
    for (int tries = 0; tries < 10 && said.find(texts.back()) == std::string::npos; ++tries) {
      user::key("alt+shift+o");
      waitForLine("left");
      waitFor(isAtRest);
      takeScreenshot("button-" + screenshot);
      user::key("ctrl+a");
      user::key("ctrl+c");
      user::key("Escape");
      waitForLine("back");
      user::key("ctrl+v");
      said = waitForLine("pasted");
    }
    for (const std::string& text : texts) {
      EXPECT_THAT(said, HasSubstr(text));
    }
    go();
    expectDone();
  }
  static bool isAtRest() {
    return std::system(
               "sum() { import -window root rgb:- | cksum; }; before=$(sum); sleep 1; "
               "[ \"$before\" = \"$(sum)\" ]") == 0;
  }
  std::string nativeManifest() const {
    return path(isFirefox() ? ".mozilla/native-messaging-hosts/example.orvane.web_host.json"
                            : ".orvane-browser/chromium/NativeMessagingHosts/"
                              "example.orvane.web_host.json");
  }
};

TEST_P(ButtonToday, tellsWhatIsAllowedAndWhatIsBroken) {
  allow("127.0.0.1");
  expectButtonSays(
      {"It has one element", "You have allowed", "orvane-web-host " ORVANE_VERSION " runs.",
       "nporvaneweb.so", "version " ORVANE_VERSION " answers"},
      "well");
  endApplication();
  writePathFile(path("nowhere"));
  expectButtonSays({"You have allowed", "nowhere"}, "no-application");
  fs::remove(path(".config/orvane-web/sites"));
  writeFile(path(".config/orvane-web/sites"),
            "deny " + address("").substr(0, address("").size() - 1) + "\n");
  expectButtonSays({"may never use Orvane Web. Forget this site and reload", "nowhere"}, "denied");
  fs::remove(nativeManifest());
  expectButtonSays({"could not be started", "Install the package orvane-web-extension"}, "no-host");
}

INSTANTIATE_TEST_SUITE_P(Browsers, ButtonToday, testing::Values("firefox", "chromium"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
}  // namespace test_support
