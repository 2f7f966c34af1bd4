#include <cstdlib>
#include <regex>

#include "tests/browsers_today/BrowserPage.h"
#include "tests/support/ScriptedServer.h"

namespace test_support {
namespace {

// What the page host has in other ways than a browser.
const char kPageHost[] = R"(
const say = console.log, removePlugin = destroyPlugin, argument = (name) => page.args[name];
const done = () => quit(0);
)";

// An application that answers what it was asked.
class Echo {
 public:
  int port() const { return _server.port(); }
  // But for what comes when it comes, and for the questions of elements that begin.
  std::string asked() const {
    static const std::regex other("\\w+ /v4/(later|transfers/activity|pellion/version) ");
    std::string all;
    for (const std::string& request : _server.requests()) {
      all += std::regex_search(request, other, std::regex_constants::match_continuous)
                 ? ""
                 : echoOf(request) + "\n";
    }
    return all;
  }

 private:
  static std::string echoOf(const std::string& request) {
    return request.substr(0, request.find(" HTTP/")) + " " + bodyOf(request);
  }

  const ScriptedServer _server{[](int connection, const std::string& request, size_t) {
    const bool isPoll = request.find("/v4/transfers/activity") < 10;
    sendAll(connection,
            httpResponse(isPoll ? R"({"iteration_token":"1","transfers":[]})" : echoOf(request)));
  }};
};

class SequencesToday : public BrowserPage {
 protected:
  // The same rounds, in the browser's name.
  std::string saidInThePageHost(const std::string& agent, const std::string& seed,
                                const std::string& rounds) {
    const std::string page = readFile(PAGES "/sequence.html");
    const std::string begin = "<script id=\"sequence\">";
    const size_t at = page.find(begin) + begin.size();
    writeFile(path("sequence.js"), kPageHost + page.substr(at, page.find("</script>", at) - at));
    ChildProgram host({PAGE_HOST_PROGRAM, "--module", MODULE, "--hostname", "127.0.0.1",
                       "--user-agent", agent, "--timeout", "250", "--arg", "seed=" + seed, "--arg",
                       "rounds=" + rounds, path("sequence.js")},
                      {path("said"), path("errors")});
    host.wait();
    return readFile(path("said"));
  }
};

// ORVANE_SEQUENCES, "SEED,ROUNDS", has others made up than those of every run.
TEST_P(SequencesToday, areAnsweredAsInThePageHost) {
  const char* const chosen = std::getenv("ORVANE_SEQUENCES");
  const std::string sequences = chosen != nullptr ? chosen : "1,6";
  const std::string seed = sequences.substr(0, sequences.find(','));
  const std::string rounds = sequences.substr(seed.size() + 1);
  allow("127.0.0.1");
  const Echo today;
  writeUrlFile(today.port());
  open(address("sequence.html?seed=" + seed + "&rounds=" + rounds));
  const std::string agent = waitForLine("");
  std::string said = agent + "\n";
  for (std::string line; line != "over";) {
    line = waitForLine("");
    said += line + "\n";
  }
  const Echo once;
  writeUrlFile(once.port());
  EXPECT_EQ(said, saidInThePageHost(agent, seed, rounds));
  EXPECT_EQ(today.asked(), once.asked());
}

INSTANTIATE_TEST_SUITE_P(Browsers, SequencesToday, testing::Values("firefox", "chromium"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
}  // namespace test_support
