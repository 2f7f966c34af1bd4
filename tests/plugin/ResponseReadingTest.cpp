#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <numeric>

#include "plugin/src/HttpRequest.h"
#include "plugin/src/HttpResponse.h"
#include "plugin/src/Utils.h"
#include "tests/plugin/SystemCallFaults.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScriptedServer.h"

namespace {

using Pellion::Web::HttpRequest;
using Pellion::Web::HttpResponse;
using test_support::ScriptedServer;

const std::string kStatus = "HTTP/1.1 200 OK\r\n";

std::string withLength(const std::string& length, const std::string& body) {
  return kStatus + "Content-Length:" + length + "\r\n\r\n" + body;
}

// What a response comes to: its code and body, or that there is none.
std::string outcome(const HttpResponse* response) {
  return response == nullptr ? "none"
                             : std::to_string(response->statusCode()) + " " + response->data();
}

// The client receives the chunks one by one.
std::string receiveInChunks(const ScriptedServer& server, const std::vector<std::string>& chunks) {
  std::vector<size_t> sizes;
  for (const std::string& chunk : chunks) {
    sizes.push_back(chunk.size());
  }
  system_call_faults::planReceives(sizes);
  HttpRequest request("127.0.0.1", static_cast<unsigned short>(server.port()));
  const std::unique_ptr<HttpResponse> response(request.invoke());
  system_call_faults::planReceives({});
  return outcome(response.get());
}

// Answers the n-th request with all of the n-th list of chunks.
ScriptedServer::Script answering(const std::vector<std::vector<std::string>>& answers) {
  return [&answers](int connection, const std::string&, size_t index) {
    const std::vector<std::string>& chunks = answers[index];
    test_support::sendAll(connection, std::accumulate(chunks.begin(), chunks.end(), std::string()));
  };
}

class ResponseReading : public test_support::Sandbox {
 protected:
  ResponseReading() { Pellion::Web::Utils::logInit(); }
  ~ResponseReading() override { Pellion::Web::Utils::logCleanup(); }
};

TEST_F(ResponseReading, endsAndCutsByTheAnnouncedLength) {
  const struct {
    const char* label;
    std::vector<std::string> chunks;
    const char* expected;
    bool untilClose;  // read until the server closed, which is logged as an error
  } cases[] = {
      {"three bytes too many", {withLength(" 5", "hello!!!")}, "200 hello", false},
      {"truncated body", {withLength(" 10", "hello")}, "200 hello", true},
      {"no length", {kStatus + "A: b\r\n\r\nhello"}, "200 hello", true},
      {"lower case", {kStatus + "content-length: 2\r\n\r\nhello"}, "200 hello", true},
      {"length 0", {"HTTP/1.1 204 No Content\r\nContent-Length: 0\r\n\r\n"}, "204 ", false},
      {"length 0 came first", {kStatus + "Content-Length: 0\r\n", "\r\n"}, "none", false},
      {"unreadable length", {withLength(" five", "abc"), "def"}, "200 abc", false},
      {"blanks before it", {withLength(" \t 5", "hello!")}, "200 hello", false},
      {"no blank before it", {withLength("5", "hello")}, "none", false},
      {"-5", {withLength(" -5", "hello")}, "none", false},
      {"beyond the start", {withLength(" -99999999999999999999", "hello")}, "none", false},
      {"beyond int", {withLength(" 99999999999999999999", "hel"), "lo"}, "200 hello", true},
      {"two lengths", {withLength(" 3\r\nContent-Length: 5", "hello")}, "200 hel", false},
      {"in the body", {kStatus + "\r\nhi Content-Length: 2\r\n rest"}, "200 hi", false},
      {"in the body, no line end",
       {kStatus + "\r\nContent-Length: 2"},
       "200 Content-Length: 2",
       true},
      {"zero byte", {kStatus + std::string("\r\nab\0cd", 7), "ef"}, "200 abef", true},
      {"zero byte first", {std::string("\0HTTP", 5), withLength(" 2", "ok")}, "200 ok", false},
      {"nothing", {""}, "none", true},
  };
  std::vector<std::vector<std::string>> answers;
  for (const auto& c : cases) {
    answers.push_back(c.chunks);
  }
  ScriptedServer server(answering(answers));
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    const size_t logged = logText().size();
    EXPECT_EQ(receiveInChunks(server, c.chunks), c.expected);
    const std::string log = logText().substr(logged);
    EXPECT_EQ(log.find("ERR recv() returned 0\n") != std::string::npos, c.untilClose) << log;
  }
}

TEST_F(ResponseReading, missesNothingWhereverAChunkEnds) {
  const struct {
    std::string text;
    const char* expected;
  } cases[] = {
      {kStatus + "A: \r\r\nContent-Content-Length: 12\r\n\r\nhello, world", "200 hello, world"},
      {withLength(" -5", "hello"), "none"},
      {kStatus + "\r\nContent-Length: 22\r\nab!!", "200 Content-Length: 22\r\nab"},
  };
  for (const auto& c : cases) {
    ScriptedServer server(c.text);
    EXPECT_EQ(receiveInChunks(server, std::vector<std::string>(c.text.size(), "x")), c.expected);
    for (size_t end = 1; end < c.text.size(); ++end) {
      ASSERT_EQ(receiveInChunks(server, {c.text.substr(0, end), c.text.substr(end)}), c.expected)
          << c.text.substr(0, end);
    }
  }
}

TEST_F(ResponseReading, costsTimeAndMemoryInProportionToWhatArrives) {
  constexpr size_t kSize = 8 << 20;
  const std::string body(kSize, 'C');  // each byte might begin the header's name
  for (const std::string& text : {test_support::httpResponse(body), kStatus + "\r\n" + body,
                                  withLength(" 2147483647", body)}) {
    ScriptedServer server(text);
    const auto start = std::chrono::steady_clock::now();
    system_call_faults::startMeasuringMemory();
    EXPECT_EQ(receiveInChunks(server, {}), "200 " + body);
    EXPECT_LE(system_call_faults::allocatedMemory(), 8 * kSize);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
  }
  ScriptedServer server(withLength(" 2147483647", "hello"));
  system_call_faults::startMeasuringMemory();
  EXPECT_EQ(receiveInChunks(server, {}), "200 hello");
  EXPECT_LT(system_call_faults::allocatedMemory(), 32u << 10);
}

}  // namespace
