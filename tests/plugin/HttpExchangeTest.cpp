#include <gmock/gmock.h>

#include <memory>

#include "ovlib/ovlog.h"
#include "plugin/src/HttpRequest.h"
#include "plugin/src/HttpResponse.h"
#include "plugin/src/Utils.h"
#include "tests/plugin/SystemCallFaults.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScriptedServer.h"

namespace {

using Pellion::Web::HttpRequest;
using Pellion::Web::HttpResponse;
using test_support::httpResponse;
using test_support::ScriptedServer;
using testing::HasSubstr;
using testing::Not;

class HttpExchange : public test_support::Sandbox {
 protected:
  HttpExchange() { Pellion::Web::Utils::logInit(); }
  ~HttpExchange() override { Pellion::Web::Utils::logCleanup(); }

  static std::unique_ptr<HttpResponse> get(int port) {
    HttpRequest request("127.0.0.1", static_cast<unsigned short>(port));
    request.setUri("/a");
    return std::unique_ptr<HttpResponse>(request.invoke());
  }
};

TEST_F(HttpExchange, writesTheRequestToTheByteInAsManySendsAsItTakes) {
  ScriptedServer server(httpResponse(""));
  HttpRequest request("localhost", 1);
  request.setPort(static_cast<unsigned short>(server.port()));
  request.setMethod(HttpRequest::kPostMethod);
  request.setUri("/a?b%20c");
  request.addHeader("Content-Type", "text/x");
  request.addHeader("Content-Type", "a second");
  request.appendData(std::string("b\0", 2));
  request.appendData("%s");
  system_call_faults::planSends({1, 2, 3});
  for (int i = 0; i < 2; ++i) {  // The second time has the automatic headers twice.
    EXPECT_NE(std::unique_ptr<HttpResponse>(request.invoke()), nullptr);
  }
  const std::string line = "POST /a?b%20c HTTP/1.1\r\n";
  const std::string close = "Connection: close\r\n";
  const std::string length = "Content-Length: 4\r\n";
  const std::string types = "Content-Type: text/x\r\nContent-Type: a second\r\n";
  const std::string agent = "User-Agent: Orvane Pellion\r\n";
  const std::string body("\r\nb\0%s", 6);
  EXPECT_THAT(server.requests(), testing::ElementsAre(line + close + length + types + agent + body,
                                                      line + close + close + length + length +
                                                          types + agent + agent + body));
  EXPECT_NE(get(server.port()), nullptr);
  EXPECT_EQ(server.requests()[2],
            "GET /a HTTP/1.1\r\n" + close + "Content-Length: 0\r\n" + agent + "\r\n");
}

TEST_F(HttpExchange, endsAtOnceWhenTheConnectionOrASendFails) {
  int freePort;
  {
    ScriptedServer gone("");
    freePort = gone.port();
  }
  EXPECT_EQ(get(freePort), nullptr);
  EXPECT_THAT(logText(), Not(HasSubstr("Request:")));

  ScriptedServer server(httpResponse("ok"));
  system_call_faults::planSends({3, system_call_faults::kFail});
  EXPECT_EQ(get(server.port()), nullptr);
  EXPECT_THAT(logText(), Not(HasSubstr("recv")));
}

TEST_F(HttpExchange, parsesWhatCameBeforeAReceiveFailed) {
  const std::string whole = httpResponse("hello");
  ScriptedServer server(whole);
  system_call_faults::planReceives({whole.size() - 2, system_call_faults::kFail});
  const auto response = get(server.port());
  ASSERT_NE(response, nullptr);
  EXPECT_EQ(response->data(), "hel");
  EXPECT_THAT(logText(), testing::ContainsRegex("ERR Socket::recv\\(\\) \\[0x[0-9a-f]+\\] - recv "
                                                "failed \\(-1\\)\n.*ERR recv\\(\\) returned -1\n"));
}

TEST_F(HttpExchange, logsRequestTimeAndResponse) {
  ScriptedServer server("HTTP/1.1 200 OK\r\n\r\n100 %s %n");
  EXPECT_NE(get(server.port()), nullptr);
  EXPECT_THAT(logText(), testing::MatchesRegex(
                             ".*DBG HttpRequest::invoke\\(\\) - Request:\nGET /a HTTP/1.1\r\n"
                             "Connection: close\r\n.*"
                             "ERR recv\\(\\) returned 0\n.*"
                             "DBG HttpRequest::invoke\\(\\) - /a response took [0-9]+ us\n.*"
                             "DBG HttpRequest::invoke\\(\\) - Response \\(28 bytes\\):\n"
                             "HTTP/1.1 200 OK\r\n\r\n100 %s %n\n"));
}

TEST_F(HttpExchange, isSilentAtALowerDetailLevelAndLogsAllThatALineHolds) {
  const std::string text = httpResponse(std::string(6000, 'x'));
  ScriptedServer server(text);
  ov_dbg_set_all(1);
  EXPECT_NE(get(server.port()), nullptr);
  EXPECT_EQ(logText(), "");
  ov_dbg_set_all(2);
  EXPECT_NE(get(server.port()), nullptr);
  const std::string line = "HttpRequest::invoke() - Response (6041 bytes):\n" + text;
  EXPECT_THAT(logText(), testing::EndsWith("DBG " + line.substr(0, 4089) + "\n"));
}

TEST_F(HttpExchange, goesOnWithoutAClock) {
  ScriptedServer server(httpResponse("ok"));
  const char* const lines[] = {"ERR  HttpRequest::invoke() - ov_time_gettimeofday error: 22\n",
                               "ERR HttpRequest::invoke() - ov_time_gettimeofday error: 22\n"};
  ov_dbg_set_all(0);  // so that only the exchange reads the clock
  for (int call = 0; call < 2; ++call) {
    system_call_faults::failClockCall(call);
    EXPECT_NE(get(server.port()), nullptr);
    EXPECT_THAT(logText(), testing::EndsWith(lines[call]));
  }
}

}  // namespace
