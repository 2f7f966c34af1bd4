#include <gmock/gmock.h>

#include "tests/pellion_simulator/Simulator.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/WaitFor.h"

namespace {

using test_support::bodyOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const char kStart[] = "/v4/transfers/start";
const char kXferreq[] = "<xferreq xmlns=\"http://schema.orvane.example/xml/xferreq/\">";

class SimulatorApi : public test_support::SimulatorTest {
 protected:
  void SetUp() override {
    unsetenv("DISPLAY");
    _simulator = start();
  }

  // Checks what the client relies on in every response, and answers the body.
  std::string expect(const std::string& response, int status) {
    EXPECT_THAT(response, StartsWith("HTTP/1.1 " + std::to_string(status) + " "));
    EXPECT_THAT(response, Not(HasSubstr("chunked")));
    const std::string body = bodyOf(response);
    EXPECT_THAT(response, HasSubstr("\r\nContent-Length: " + std::to_string(body.size()) + "\r\n"));
    EXPECT_FALSE(body.empty());
    return body;
  }

 private:
  std::unique_ptr<test_support::Simulator> _simulator;
};

TEST_F(SimulatorApi, answersWithoutADisplayAndLogsIt) {
  // As the module asks for the version: a GET with a body.
  EXPECT_THAT(expect(request("GET", "/v4/pellion/version",
                             R"({"orvane_pellion_settings":{"app_id":"version request"}})"),
                     200),
              HasSubstr(R"("version":"3.2.0")"));
  for (const std::string window : {"about", "preferences", "transfer-manager"}) {
    expect(request("GET", "/windows/" + window + "/", ""), 200);
    EXPECT_TRUE(test_support::waitFor([&] {
      return ownLog().find("There is no display to show the " + window + " window on\n") !=
             std::string::npos;
    }));
  }
  for (int i = 0; i < 100; ++i) {
    request("GET", "/" + std::string(8000, 'x'), "");
  }
  EXPECT_LT(ownLog().size(), 1'100'000u);
  EXPECT_EQ(expect(request("POST", "/v4/transfers/activity", ""), 200).rfind(R"(,"transfers":[]})"),
            std::string(R"({"iteration_token":"1234567890123456")").size());
}

TEST_F(SimulatorApi, saysWhatIsWrongWithARequest) {
  const std::string xml = kXferreq, root = R"("destination_root":)";
  const std::string paths = R"("paths":[{"source":"http://h/f")";
  // A receiving transfer_spec, with its settings.
  const auto spec = [](const std::string& settings, const std::string& members) {
    return R"({"transfer_specs":[{"orvane_pellion_settings":)" + settings +
           R"(,"transfer_spec":{"direction":"receive",)" + members + "}]}}]}";
  };
  const std::string relative = "{}", absolute = R"({"use_absolute_destination_path":true})";
  const struct {
    std::string method, target, body;
    int status;
    const char* message;
  } kCases[] = {
      {"GET", "/v4/pellion/versions", "", 404, "Unknown path: /v4/pellion/versions"},
      {"POST", "/", "{}", 404, "Unknown path: /"},
      {"GET", "/%0a", "", 404, "Unknown path"},
      {"GET", "/" + std::string(8000, 'x'), "", 404, "Unknown path: /xxxx"},
      {"GET", "/windows/settings/", "", 404, "Unknown window: settings"},
      {"GET", "/transfers/", "", 405, "GET is not allowed for /transfers/"},
      {"DELETE", "/windows/about/", "", 405, "DELETE is not allowed"},
      {"DELETE", "/transfers/", "", 405, "DELETE is not allowed"},
      {"FETCH", "/", "", 400, "method"},
      {"POST", "/transfers/", "", 400, "The body is not valid XML: "},
      {"POST", "/transfers/", "<xferreq>\n<src>a</sr", 400, "(line 2, offset "},
      {"POST", "/transfers/", xml + "<param name=\"x value=\"1\"></xferreq>", 400, "not valid XML"},
      {"POST", "/transfers/", "<request/>", 400, "root element is 'request'"},
      {"POST", "/transfers/", "<xferreq xmlns='x'/>", 400, "namespace is 'x'"},
      {"POST", "/transfers/", xml + "</xferreq>", 400, "there is no source"},
      {"POST", "/transfers/", xml + "<src>/a</src><dest>b</dest><dest>c</dest></xferreq>", 400,
       "more than one destination"},
      {"POST", "/transfers/", xml + "<source/></xferreq>", 400, "unknown element 'source'"},
      {"POST", "/transfers/", std::string(17'000'000, 'x'), 413, "larger than"},
      {"POST", "/v4/transfers/activity", std::string("{}\0", 3), 400, "zero byte"},
      {"POST", "/v4/transfers/activity", R"({"iteration_token":"12x"})", 400,
       "iteration_token must be one"},
      {"POST", kStart, "{'a':1}", 400, "not valid JSON: lexical error"},
      {"POST", kStart, "/*\"*/" + std::string(500'000, '['), 400, "nested deeper"},
      {"POST", kStart, R"({"transfer_specs":{}})", 400, "transfer_specs must be an array"},
      {"POST", kStart, R"({"transfer_specs":[1]})", 400,
       "transfer_specs[0]: transfer_spec must be an object"},
      {"POST", kStart, R"({"transfer_specs":[{"transfer_spec":{}}]})", 400,
       R"(direction must be \"receive\" or \"send\", not \"\")"},
      {"POST", kStart, spec(R"({"use_absolute_destination_path":1})", paths), 400,
       "must be true or false"},
      {"POST", kStart, spec(relative, root + R"("a/../../b",)" + paths), 400,
       "destination_root must be a relative path"},
      {"POST", kStart, spec(relative, root + R"("/etc",)" + paths), 400,
       "destination_root must be a relative path"},
      {"POST", kStart, spec(absolute, paths), 400, "destination_root must be absolute"},
      {"POST", kStart, spec(relative, paths + R"(,"destination":"../x")"), 400,
       "destination must be a relative path"},
      {"POST", kStart, spec(relative, R"("paths":[{"source":"f")"), 400,
       "a source must be absolute"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.message);
    const std::string response = request(c.method, c.target, c.body);
    const std::string body = expect(response, c.status);
    const std::string allowed = c.target == "/transfers/" ? "Allow: POST\r\n" : "Allow: GET\r\n";
    EXPECT_EQ(response.find(allowed) != std::string::npos, c.status == 405);
    EXPECT_THAT(body, StartsWith("{\"error\":{\"code\":" + std::to_string(c.status) +
                                 ",\"user_message\":\""));
    EXPECT_THAT(body, HasSubstr(c.message));
  }
  EXPECT_TRUE(activity().transfers.empty());
}

TEST_F(SimulatorApi, answersThisMachineOnly) {
  const std::string withPort = ":" + std::to_string(port());
  const std::pair<std::string, int> kHeaders[] = {
      {"Host: 127.0.0.1" + withPort, 200},
      {"Host: LocalHost", 200},
      {"Host: [::1]" + withPort, 200},
      {"Sec-Fetch-Site: none", 200},
      {"Range: bytes=1-3", 200},
      {"Host: localhost\r\nOrigin: http://localhost:3000", 403},
      {"Host: example.org", 403},
      {"Host: example.org" + withPort, 403},
      {"Host: 127.0.0.1.example.org", 403},
      {"Host: localhost:80@example.org", 403},
      {"Host: [::1].example.org", 403},
      {"Host: localhost\r\nHost: example.org", 403},
      {"Origin: https://example.org", 403},
      {"Origin: null", 403},
      {"Host: localhost\r\nSec-Fetch-Site: cross-site", 403},
  };
  for (const auto& [header, status] : kHeaders) {
    SCOPED_TRACE(header);
    const std::string body =
        expect(exchange("GET /v4/pellion/version HTTP/1.1\r\n" + header + "\r\n\r\n"), status);
    EXPECT_EQ(body.find("not answered") != std::string::npos, status == 403);
  }
}

TEST_F(SimulatorApi, boundsABodyOfEveryKindAlike) {
  const std::string head = "POST /v4/transfers/activity HTTP/1.1\r\n";
  const std::string form = "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: ";
  expect(exchange(head + form + "10000\r\n\r\n{}" + std::string(9'998, ' ')), 200);
  for (const auto& [size, status] : {std::pair("0ffff00", 200), std::pair("1100000", 413)}) {
    const std::string blanks(std::stoul(size, nullptr, 16) - 2, ' ');
    expect(exchange(head + "Transfer-Encoding: chunked\r\n\r\n" + size + "\r\n{}" + blanks +
                    "\r\n0\r\n\r\n"),
           status);
  }
}

// The server closes an idle connection after two seconds.
TEST_F(SimulatorApi, isNotHeldUpByIdleConnections) {
  EXPECT_TRUE(test_support::waitFor([&] {
    std::vector<std::unique_ptr<test_support::Connection>> idle(60);
    for (auto& connection : idle) {
      connection = std::make_unique<test_support::Connection>(port());
    }
    expect(request("GET", "/v4/pellion/version", ""), 200);
    return idle.front()->isOpen();
  }));
}

}  // namespace
