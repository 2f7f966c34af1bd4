#include <gmock/gmock.h>

#include "tests/pellion_simulator/Simulator.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/WaitFor.h"

namespace {

using test_support::bodyOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

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

  std::string withHeader(const std::string& header) {
    return exchange("GET /v4/pellion/version HTTP/1.1\r\n" + header + "\r\n\r\n");
  }

 private:
  std::unique_ptr<test_support::Simulator> _simulator;
};

TEST_F(SimulatorApi, answersWithoutADisplayAndLogsIt) {
  // As the module asks for the version: a GET with a body.
  EXPECT_THAT(expect(request("GET", "/v4/pellion/version",
                             R"({"orvane_pellion_settings":{"app_id":"version request"}})"),
                     200),
              HasSubstr(R"("version":"3.1.1")"));
  for (const std::string window : {"about", "preferences", "transfer-manager"}) {
    expect(request("GET", "/windows/" + window + "/", ""), 200);
    EXPECT_TRUE(test_support::waitFor([&] {
      return ownLog().find("There is no display to show the " + window + " window on\n") !=
             std::string::npos;
    }));
  }
  EXPECT_EQ(expect(request("POST", "/v4/transfers/activity", ""), 200).rfind(R"(,"transfers":[]})"),
            std::string(R"({"iteration_token":"1234567890123456")").size());
}

TEST_F(SimulatorApi, saysWhatIsWrongWithARequest) {
  const std::string spec = R"({"transfer_specs":[{"orvane_pellion_settings":)";
  const std::string receive = R"("direction":"receive","paths":[{"source":"http://h/f")";
  const struct {
    const char *label, *method, *target;
    std::string body;
    int status;
    const char* message;
  } kCases[] = {
      {"unknown path", "GET", "/v4/pellion/versions", "", 404,
       "Unknown path: /v4/pellion/versions"},
      {"unknown posted path", "POST", "/", "{}", 404, "Unknown path: /"},
      {"a line break in the path", "GET", "/%0a", "", 404, "Unknown path"},
      {"long path", "GET", nullptr, "", 404, "Unknown path: /xxxx"},
      {"unknown window", "GET", "/windows/settings/", "", 404, "Unknown window: settings"},
      {"wrong method", "GET", "/transfers/", "", 405, "GET is not allowed for /transfers/"},
      {"wrong method", "DELETE", "/windows/about/", "", 405, "DELETE is not allowed"},
      {"unknown method", "FETCH", "/", "", 400, "method"},
      {"empty XML", "POST", "/transfers/", "", 400, "The body is not valid XML: "},
      {"cut XML", "POST", "/transfers/", "<xferreq>\n<src>a</sr", 400, "(line 2, offset "},
      {"unclosed param", "POST", "/transfers/",
       kXferreq + std::string("<src>/a</src><param name=\"x value=\"1\"></xferreq>"), 400,
       "not valid XML"},
      {"other root", "POST", "/transfers/", "<request/>", 400, "root element is 'request'"},
      {"other namespace", "POST", "/transfers/", "<xferreq xmlns='x'/>", 400, "namespace is 'x'"},
      {"no source", "POST", "/transfers/", kXferreq + std::string("</xferreq>"), 400,
       "there is no source"},
      {"two destinations", "POST", "/transfers/",
       kXferreq + std::string("<src>/a</src><dest>b</dest><dest>c</dest></xferreq>"), 400,
       "more than one destination"},
      {"unknown element", "POST", "/transfers/", kXferreq + std::string("<source/></xferreq>"), 400,
       "unknown element 'source'"},
      {"no JSON", "POST", "/v4/transfers/start", "{'a':1}", 400, "not valid JSON: lexical error"},
      {"zero byte", "POST", "/v4/transfers/activity", std::string("{}\0", 3), 400, "zero byte"},
      {"deep JSON", "POST", "/v4/transfers/start", std::string(500'000, '['), 400, "nested deeper"},
      {"no specs", "POST", "/v4/transfers/start", "{\"transfer_specs\":{}}", 400,
       "transfer_specs must be an array"},
      {"no spec", "POST", "/v4/transfers/start", "{\"transfer_specs\":[1]}", 400,
       "transfer_specs[0]: transfer_spec must be an object"},
      {"direction", "POST", "/v4/transfers/start", spec + R"({},"transfer_spec":{}}]})", 400,
       R"(direction must be \"receive\" or \"send\", not \"\")"},
      {"flag", "POST", "/v4/transfers/start",
       spec + R"({"use_absolute_destination_path":1},"transfer_spec":{)" + receive + "}]}}]}", 400,
       "must be true or false"},
      {"climbing root", "POST", "/v4/transfers/start",
       spec + R"({},"transfer_spec":{"destination_root":"a/../../b",)" + receive + "}]}}]}", 400,
       "destination_root must be a relative path"},
      {"absolute root without the flag", "POST", "/v4/transfers/start",
       spec + R"({},"transfer_spec":{"destination_root":"/etc",)" + receive + "}]}}]}", 400,
       "destination_root must be a relative path"},
      {"relative root with the flag", "POST", "/v4/transfers/start",
       spec + R"({"use_absolute_destination_path":true},"transfer_spec":{)" + receive + "}]}}]}",
       400, "destination_root must be absolute"},
      {"climbing name", "POST", "/v4/transfers/start",
       spec + R"({},"transfer_spec":{)" + receive + R"(,"destination":"../x"}]}}]})", 400,
       "destination must be a relative path"},
      {"relative source", "POST", "/v4/transfers/start",
       spec + R"({},"transfer_spec":{"direction":"receive","paths":[{"source":"f"}]}}]})", 400,
       "a source must be absolute"},
      {"token", "POST", "/v4/transfers/activity", R"({"iteration_token":"12x"})", 400,
       "iteration_token must be one"},
      {"body too large", "POST", "/transfers/", std::string(17'000'000, 'x'), 413, "larger than"},
  };
  const std::string longPath = "/" + std::string(8000, 'x');
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.label);
    const std::string target = c.target != nullptr ? c.target : longPath;
    const std::string body = expect(request(c.method, target, c.body), c.status);
    EXPECT_THAT(body, StartsWith("{\"error\":{\"code\":" + std::to_string(c.status) +
                                 ",\"user_message\":\""));
    EXPECT_THAT(body, HasSubstr(c.message));
  }
  EXPECT_TRUE(activity().transfers.empty());
}

TEST_F(SimulatorApi, answersThisMachineOnly) {
  const std::string withPort = ":" + std::to_string(port());
  for (const std::string& header :
       {"Host: 127.0.0.1" + withPort, std::string("Host: LocalHost"), "Host: [::1]" + withPort,
        std::string("Host: localhost\r\nOrigin: http://localhost:3000"),
        std::string("Sec-Fetch-Site: none")}) {
    SCOPED_TRACE(header);
    expect(withHeader(header), 200);
  }
  for (const std::string& header :
       {std::string("Host: example.org"), "Host: example.org" + withPort,
        std::string("Host: 127.0.0.1.example.org"), std::string("Host: localhost:80@example.org"),
        std::string("Host: [::1].example.org"), std::string("Host: localhost\r\nHost: example.org"),
        std::string("Origin: https://example.org"), std::string("Origin: null"),
        std::string("Host: localhost\r\nSec-Fetch-Site: cross-site")}) {
    SCOPED_TRACE(header);
    EXPECT_THAT(expect(withHeader(header), 403), HasSubstr("not answered"));
  }
}

}  // namespace
