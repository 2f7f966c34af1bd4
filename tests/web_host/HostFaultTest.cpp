#include <gmock/gmock.h>
#include <sys/socket.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "tests/support/Sandbox.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/WaitFor.h"
#include "tests/web_host/HostProcess.h"

namespace test_support {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

const char kOrigin[] = "https://a.example";
const char kError[] = "Error contacting Orvane Pellion. Ensure that it is running";

// What goes wrong around the host program where no browser makes a difference: a row of the fault
// table each.
class HostFaults : public Sandbox {
 protected:
  using Levels = std::pair<size_t, size_t>;  // descriptors and threads

  HostFaults() {
    setUpHost(home());
    unsetenv("DISPLAY");
    fs::create_directories(path(".config/orvane-web"));
    writeFile(path(".config/orvane-web/sites"), std::string("allow ") + kOrigin + "\n");
  }
  void TearDown() override {
    _host.reset();
    endApplication();
  }

  void makeElement() {
    _host = std::make_unique<HostProcess>(path("stderr"));
    _host->greet(kOrigin, "https://a.example/x.html");
    _host->send(test_support::makeElement());
    _number = 1;
    _host->receive();  // the leave of the site
    _answer = _host->receive();
  }

  // The answer to a request that the application is asked for.
  std::string ask() {
    _host->send(R"({"n":)" + std::to_string(++_number) +
                R"(,"op":"call","element":1,"name":"pellionHttpRequest","args":["GET","/x",""]})");
    return _host->receive();
  }

  Levels levels() const {
    if (_host->pid() < 0) {
      return {};
    }
    const std::string of = "/proc/" + std::to_string(_host->pid());
    return {countEntries(of + "/fd"), countEntries(of + "/task")};
  }
  void takeLevels() { _before = levels(); }

  // Prints the row; the host holds what it held.
  void endRow(const std::string& fault, const std::string& outcome, const std::string& log) {
    EXPECT_TRUE(waitFor([&] { return levels() == _before; })) << fault;
    EXPECT_FALSE(log.empty() ? false : logLines(log).empty()) << log << "\n" << logText();
    std::printf("fault-row\t%s\t%s\t%s\t\t\t%zu>%zu\t%zu>%zu\t\n", fault.c_str(), outcome.c_str(),
                log.c_str(), _before.first, levels().first, _before.second, levels().second);
  }

  std::unique_ptr<ScriptedServer> _application, _second;  // end after the host, which may wait
  std::unique_ptr<HostProcess> _host;
  std::string _answer;

 private:
  Levels _before = {};
  int _number = 1;
};

TEST_F(HostFaults, ofTheModule) {
  const struct {
    const char *label, *module, *said;
  } kRows[] = {
      {"is missing", "/nowhere.so", "there is no module /nowhere.so"},
      {"is another file", "/etc/passwd", "the module cannot be loaded: /etc/passwd: "},
      {"refuses to start", REFUSING_MODULE, "the module refused to start (error 8)"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.label);
    setenv("ORVANE_WEB_MODULE", row.module, 1);
    makeElement();
    EXPECT_THAT(_answer, HasSubstr(std::string(R"({"tell":"say","text":")") + row.said));
    _answer = _host->receive();
    EXPECT_THAT(_answer, HasSubstr(R"("error":"Orvane Web: the module cannot be loaded. )"));
    takeLevels();
    EXPECT_EQ(ask(), _answer.replace(10, 1, "2"));
    endRow(
        std::string("the module ") + row.label,
        "Orvane Web: the module cannot be loaded. ... The console says: " + std::string(row.said),
        "");
    _host->closeInput();
    EXPECT_EQ(_host->wait(), 0);
  }
}

TEST_F(HostFaults, ofTheApplication) {
  skipWhereAnApplicationIsInstalled();
  const auto answers = [](const char* body) {
    return std::make_unique<ScriptedServer>(httpResponse(body));
  };
  _application = answers("here");
  writeUrlFile(_application->port());
  makeElement();
  EXPECT_EQ(ask(), R"({"answer":2,"value":"here"})");
  takeLevels();

  _second = answers("there");
  writeUrlFile(_second->port());
  _application.reset();
  EXPECT_EQ(ask(), R"({"answer":3,"value":"there"})");
  endRow("the application moves to another port", "the answer", "LOG Connection failed for socket");

  _second.reset();
  EXPECT_THAT(ask(), HasSubstr(kError));
  endRow("the application is gone, and cannot be launched", "the error document",
         std::string("ERR ") + kError);

  _application = answers("again");
  writeUrlFile(_application->port());
  EXPECT_EQ(ask(), R"({"answer":5,"value":"again"})");
  endRow("the application is back", "the answer", "");
}

TEST_F(HostFaults, ofAnApplicationThatIsSilent) {
  _application =
      std::make_unique<ScriptedServer>([](int connection, const std::string& request, size_t) {
        char nothing;
        if (request.find("/x ") != std::string::npos) {
          recv(connection, &nothing, 1, 0);  // until the host goes
        }
        sendAll(connection, httpResponse("alive"));
      });
  writeUrlFile(_application->port());
  makeElement();
  _host->send(
      R"({"n":2,"op":"call","element":1,"name":"pellionHttpRequest","args":["GET","/x",""]})");
  const size_t asked = _application->requestCount();
  ASSERT_TRUE(waitFor([&] { return _application->requestCount() > asked; }));
  _host->closeInput();
  EXPECT_EQ(_host->receive(), "");
  EXPECT_EQ(_host->wait(), 124);
  endRow("the application is silent, and the page is left", "nothing: the host ends in two seconds",
         "");
}

}  // namespace
}  // namespace test_support
