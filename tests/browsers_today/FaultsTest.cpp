#include <gmock/gmock.h>
#include <signal.h>

#include "tests/browsers_today/BrowserFaults.h"
#include "tests/support/WaitFor.h"
#include "tests/support/XDisplay.h"
#include "tools/web_host/FrameParser.h"

namespace test_support {
namespace {

using testing::StartsWith;

const char kUnstarted[] = "Error: Orvane Web: the program orvane-web-host could not be started";
const char kGone[] =
    "Error: Orvane Web: the program beside the browser has ended. Reload the page.";
const char kSwitchedOff[] =
    "Error: Orvane Web: the extension has been updated or switched off. Reload the page.";

class FaultsToday : public BrowserFaults {
 protected:
  void tell() const { writeFile(path("files/told"), ""); }
};

// A shell script that sends these messages.
std::string sending(const std::vector<std::string>& messages) {
  std::string script = "printf '";
  for (const std::string& message : messages) {
    for (const unsigned char byte : web_host::frameOf(message)) {
      char escaped[5];
      std::snprintf(escaped, sizeof(escaped), "\\%03o", byte);
      script += escaped;
    }
  }
  return script + "'\n";
}

TEST_P(FaultsToday, ofTheProgramBesideTheBrowser) {
  const std::string host = BUILD "/tools/web_host/orvane-web-host \"$@\"";
  const std::string hello = R"({"hello":1,"version":"1"})";
  const std::string stay = "exec sleep 1000";
  const struct {
    const char* label;
    std::string script, outcome;
    bool executable = true;
  } kRows[] = {
      {"is not executable", "exit", kUnstarted, false},
      {"exits at once", "exit 1", kUnstarted},
      {"prints garbage", "echo Segmentation fault; " + stay, kUnstarted},
      {"closes its output", "exec >&-; " + stay, kUnstarted},
      {"announces 1 GiB", "printf '\\0\\0\\0\\100'; " + stay, kUnstarted},
      {"greets and ends", sending({hello}), kGone},
      {"sends what nobody asked for, then says that it is broken",
       sending({hello, "null", "[]", "7", R"({"answer":99,"value":1})", R"({"tell":"call"})",
                R"({"tell":"call","element":1,"object":-1,"args":[]})", R"({"tell":"picture"})",
                R"({"piece":1,"of":2,"id":1,"text":"["})", R"({"fatal":"It is broken."})"}) +
           stay,
       "Error: Orvane Web: It is broken."},
      {"starts slowly, and sends byte by byte",
       "sleep 1\n" + host +
           " | python3 -c 'import os, time\nwhile byte := os.read(0, 1):\n  time.sleep(0.002)\n"
           "  os.write(1, byte)'",
       "3.1"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.label);
    beginRow();
    replaceHost(row.script, row.executable);
    open(address("fault.html?play=once&after=works"));
    const std::string call = waitForLine("call: ");
    EXPECT_THAT(call, StartsWith("call: " + row.outcome));
    EXPECT_EQ(waitForLine("promise: "), "promise: " + call.substr(6));
    replaceHost("");
    go();
    expectDone();
    endRow(std::string("the host ") + row.label, call.substr(6));
  }
}

INSTANTIATE_TEST_SUITE_P(Browsers, FaultsToday, testing::Values("firefox", "chromium"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
}  // namespace test_support
