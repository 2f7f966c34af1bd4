#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <deque>
#include <memory>

#include "ovlib/ovlog.h"
#include "plugin/src/HttpRequest.h"
#include "plugin/src/HttpResponse.h"
#include "tests/plugin/LoggedSandbox.h"
#include "tests/support/ScriptedServer.h"

namespace {

// What the next calls of this thread move at most; the sends fail where nothing may be moved.
thread_local std::deque<size_t> plannedReceives;
thread_local std::deque<size_t> plannedSends;

size_t takePlanned(std::deque<size_t>* plan, size_t size) {
  if (!plan->empty()) {
    size = std::min(size, plan->front());
    plan->pop_front();
  }
  return size;
}

}  // namespace

// These do the real thing, except where something is planned.
extern "C" ssize_t recv(int sock, void* buffer, size_t size, int flags) {
  flags |= plannedReceives.empty() ? 0 : MSG_WAITALL;
  size = takePlanned(&plannedReceives, size);
  return syscall(SYS_recvfrom, sock, buffer, size, flags, nullptr, nullptr);
}

extern "C" ssize_t send(int sock, const void* buffer, size_t size, int flags) {
  size = takePlanned(&plannedSends, size);
  return size == 0 ? -1 : syscall(SYS_sendto, sock, buffer, size, flags, nullptr, 0);
}

namespace {

using Pellion::Web::HttpRequest;
using Pellion::Web::HttpResponse;
using test_support::httpResponse;
using test_support::ScriptedServer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using Response = std::unique_ptr<HttpResponse>;

class HttpExchange : public LoggedSandbox {
 protected:
  static Response get(int port) {
    HttpRequest request("127.0.0.1", static_cast<unsigned short>(port));
    request.setUri("/a");
    return Response(request.invoke());
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
  plannedSends = {1, 2, 3};
  for (int i = 0; i < 2; ++i) {  // The second time has the automatic headers twice.
    EXPECT_NE(Response(request.invoke()), nullptr);
  }
  EXPECT_NE(get(server.port()), nullptr);
  const std::string line = "POST /a?b%20c HTTP/1.1\r\n";
  const std::string close = "Connection: close\r\n";
  const std::string length = "Content-Length: 4\r\n";
  const std::string types = "Content-Type: text/x\r\nContent-Type: a second\r\n";
  const std::string agent = "User-Agent: Orvane Pellion\r\n";
  const std::string body("\r\nb\0%s", 6);
  EXPECT_THAT(
      server.requests(),
      ElementsAre(line + close + length + types + agent + body,
                  line + close + close + length + length + types + agent + agent + body,
                  "GET /a HTTP/1.1\r\n" + close + "Content-Length: 0\r\n" + agent + "\r\n"));
}

TEST_F(HttpExchange, endsAtOnceWhenTheConnectionOrASendFails) {
  const int closedPort = ScriptedServer("").port();
  EXPECT_EQ(get(closedPort), nullptr);
  EXPECT_THAT(logText(), Not(HasSubstr("Request:")));
  ScriptedServer server(httpResponse("ok"));
  plannedSends = {3, 0};
  EXPECT_EQ(get(server.port()), nullptr);
  EXPECT_THAT(logText(), Not(HasSubstr("recv")));
}

TEST_F(HttpExchange, logsRequestTimeAndResponseInFullDetailOnly) {
  ScriptedServer server("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n100 %s %n");
  ov_dbg_set_all(1);
  EXPECT_NE(get(server.port()), nullptr);
  EXPECT_EQ(logText(), "");
  ov_dbg_set_all(2);
  EXPECT_NE(get(server.port()), nullptr);
  EXPECT_THAT(logText(), testing::MatchesRegex(
                             ".*DBG HttpRequest::invoke\\(\\) - Request:\nGET /a HTTP/1.1\r\n"
                             "Connection: close\r\n.*"
                             "DBG HttpRequest::invoke\\(\\) - /a response took [0-9]+ us\n.*"
                             "DBG HttpRequest::invoke\\(\\) - Response \\(47 bytes\\):\n"
                             "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n100 %s %n\n"));
}

// A response whose bytes arrive in chunks of these sizes: its code and body.
std::string readIn(const std::string& bytes, const std::deque<size_t>& sizes) {
  ScriptedServer server(bytes);
  plannedReceives = sizes;
  HttpRequest request("127.0.0.1", static_cast<unsigned short>(server.port()));
  const Response response(request.invoke());
  plannedReceives.clear();
  return response ? std::to_string(response->statusCode()) + " " + response->data() : "none";
}

std::string readInTwo(const std::string& bytes, size_t first) {
  return readIn(bytes, {first, bytes.size() - first});
}

using ResponseReading = LoggedSandbox;

TEST_F(ResponseReading, endsAndCutsByTheAnnouncedLengthWhereverAChunkEnds) {
  const struct {
    const char *bytes, *expected;
    bool untilClose;  // read until the server closed, which is logged as an error
  } cases[] = {
      {"A: \r\r\nContent-Content-Length: 12\r\n\r\nhello, world!!", "200 hello, world", false},
      {"content-length: 2\r\n\r\nhello", "200 hello", true},
      {"Content-Length: \t 5\r\n\r\nhello!", "200 hello", false},
      {"Content-Length:5\r\n\r\nhello", "none", false},
      {"Content-Length: -5\r\n\r\nhello", "none", false},
      {"Content-Length: -99999999999999999999\r\n\r\nhello", "none", false},
      {"Content-Length: 99999999999999999999\r\n\r\nhello", "200 hello", true},
      {"Content-Length: 3\r\nContent-Length: 5\r\n\r\nhello", "200 hel", false},
      {"\r\nhi Content-Length: 2\r\n rest", "200 hi", false},
      {"\r\nContent-Length: 2", "200 Content-Length: 2", true}};
  const std::string status = "HTTP/1.1 200 OK\r\n";
  for (const auto& c : cases) {
    SCOPED_TRACE(c.bytes);
    const std::string bytes = status + c.bytes;
    const size_t logged = logText().size();
    EXPECT_EQ(readInTwo(bytes, bytes.size()), c.expected);
    const std::string log = logText().substr(logged);
    EXPECT_EQ(log.find("ERR recv() returned 0\n") != std::string::npos, c.untilClose) << log;
    EXPECT_EQ(readIn(bytes, std::deque<size_t>(bytes.size(), 1)), c.expected) << "byte by byte";
    for (size_t end = 1; end < bytes.size(); ++end) {
      ASSERT_EQ(readInTwo(bytes, end), c.expected) << bytes.substr(0, end);
    }
  }
}

TEST_F(ResponseReading, losesWhatFollowsAZeroByteOrAnUnreadableLengthInAChunk) {
  const struct {
    const char* label;
    std::string first, second;
    const char* expected;
  } cases[] = {{"length 0", "HTTP/1.1 204 No Content\r\nContent-Length: 0\r\n\r\n", "", "204 "},
               {"length 0 first", "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n", "\r\n", "none"},
               {"no number", "HTTP/1.1 200 OK\r\nContent-Length: x\r\n\r\nabc", "def", "200 abc"},
               {"zero byte", std::string("HTTP/1.1 200 OK\r\n\r\nab\0cd", 24), "ef", "200 abef"},
               {"zero byte first", std::string("\0HTTP", 5), httpResponse("ok") + "!", "200 ok"}};
  for (const auto& c : cases) {
    EXPECT_EQ(readInTwo(c.first + c.second, c.first.size()), c.expected) << c.label;
  }
}

TEST_F(ResponseReading, makesNoRoomForWhatIsOnlyAnnounced) {
  const auto peakKib = [] {
    const std::string status = test_support::readFile("/proc/self/status");
    return std::stoul(status.substr(status.find("VmPeak:") + 7));
  };
  const size_t before = peakKib();
  const std::string bytes = "HTTP/1.1 200 OK\r\nContent-Length: 2147483647\r\n\r\nhello";
  EXPECT_EQ(readInTwo(bytes, bytes.size() - 2), "200 hello");
  EXPECT_LT(peakKib() - before, 1u << 20);
}

Response parse(const std::string& text) {
  return Response(HttpResponse::parse(text));
}

TEST(HttpResponse, readsTheCodeBetweenTheFirstTwoBlanks) {
  const std::pair<const char*, int> cases[] = {
      {"HTTP/1.1 404 Not Found", 404},    {"HTTP/1.1 200 ", 200},   {"HTTP/1.1 OK 200", 0},
      {"HTTP/1.1 99999999999 OK", 65535}, {"HTTP/1.1 65537 OK", 1}, {"HTTP/1.1 200", -1}};
  for (const auto& [line, code] : cases) {
    const auto response = parse(std::string(line) + "\r\n\r\n");
    EXPECT_EQ(response == nullptr ? -1 : response->statusCode(), code) << line;
  }
}

TEST(HttpResponse, keepsHeadersAsReceived) {
  const auto response = parse(
      "HTTP/1.1 200 OK\r\nb: second \r\nB: other\r\nb: third\r\ne: \r\nx: a: "
      "b\r\n\r\nbody\r\n\r\nmore: \r\n");
  ASSERT_NE(response, nullptr);
  EXPECT_EQ(response->header("b"), "second ");
  EXPECT_EQ(response->header("B"), "other");
  EXPECT_EQ(response->header("x"), "a: b");
  EXPECT_EQ(response->header("X"), "");
  EXPECT_EQ(response->data(), "body\r\n\r\nmore: \r\n");
}

TEST(HttpResponse, refusesAMalformedHeaderBlock) {
  for (const char* text :
       {"", "HTTP/1.1 200 OK", "HTTP/1.1 200 OK\r\nA: b\r\n\r",
        "HTTP/1.1 200 OK\r\nA: b\r\nC:d\r\n\r\nbody", "HTTP/1.1 200 OK\n\nbody"}) {
    EXPECT_EQ(parse(text), nullptr) << text;
  }
}

}  // namespace
