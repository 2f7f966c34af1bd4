#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <numeric>
#include <random>
#include <sstream>

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
      {"exact body", {withLength(" 5", "hello")}, "200 hello", false},
      {"three bytes too many", {withLength(" 5", "hello!!!")}, "200 hello", false},
      {"surplus in a later chunk", {withLength(" 5", "hel"), "lo!!!"}, "200 hello", false},
      {"truncated body", {withLength(" 10", "hello")}, "200 hello", true},
      {"no length", {kStatus + "A: b\r\n\r\nhello"}, "200 hello", true},
      {"lower case", {kStatus + "content-length: 2\r\n\r\nhello"}, "200 hello", true},
      {"length 0", {"HTTP/1.1 204 No Content\r\nContent-Length: 0\r\n\r\n"}, "204 ", false},
      {"length 0 came first", {kStatus + "Content-Length: 0\r\n", "\r\n"}, "none", false},
      {"length 0 keeps what came with it", {withLength(" 0", "abc")}, "200 abc", false},
      {"unreadable length", {withLength(" five", "abc"), "def"}, "200 abc", false},
      {"no length on the line", {withLength(" ", "7abc"), "defg"}, "200 7abc", false},
      {"blanks before it", {withLength(" \t 5", "hello!")}, "200 hello", false},
      {"no blank before it", {withLength("5", "hello")}, "none", false},
      {"plus sign", {withLength(" +5", "hello!")}, "200 hello", false},
      {"length ends at a letter", {withLength(" 5x9", "hello!")}, "200 hello", false},
      {"-1", {withLength(" -1", "hello")}, "none", false},
      {"-5", {withLength(" -5", "hello")}, "none", false},
      {"beyond the start", {withLength(" -99999999999999999999", "hello")}, "none", false},
      {"largest length", {withLength(" 2147483647", "hello")}, "200 hello", true},
      {"beyond int", {withLength(" 99999999999999999999", "hel"), "lo"}, "200 hello", true},
      {"two lengths", {withLength(" 3\r\nContent-Length: 5", "hello")}, "200 hel", false},
      {"end of a longer name", {kStatus + "X-Content-Length: 3\r\n\r\nhello"}, "200 hel", false},
      {"in the body", {kStatus + "\r\nhi Content-Length: 2\r\n rest"}, "200 hi", false},
      {"in the body, no line end",
       {kStatus + "\r\nContent-Length: 2"},
       "200 Content-Length: 2",
       true},
      {"zero byte", {kStatus + std::string("\r\nab\0cd", 7), "ef"}, "200 abef", true},
      {"zero byte first", {std::string("\0HTTP", 5), withLength(" 2", "ok")}, "200 ok", false},
      {"zero byte in the headers", {kStatus + std::string("A: \0", 4)}, "none", true},
      {"no reason phrase", {"HTTP/1.1 200\r\nContent-Length: 2\r\n\r\nok"}, "none", false},
      {"malformed header line", {kStatus + "A:1\r\n\r\nhello"}, "none", true},
      {"no end of the headers", {kStatus + "Content-Length: 5\r\nA: b"}, "none", true},
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

// The reading rules in their plainest form, with every search from the start.
std::string readBySearchingFromTheStart(const std::vector<std::string>& chunks) {
  std::string text;
  for (const std::string& chunk : chunks) {
    text += chunk.c_str();
    const size_t header = text.find("Content-Length:");
    const size_t end = header == std::string::npos ? header : text.find("\r\n", header);
    if (end == std::string::npos) {
      continue;
    }
    int length = 0;
    std::istringstream(text.substr(header + 15, end - header - 15)) >> length;
    if (length == 0) {
      break;
    }
    const size_t headersEnd = text.find("\r\n\r\n");
    if (headersEnd == std::string::npos) {
      continue;
    }
    const long bodyStart = static_cast<long>(headersEnd) + 4;
    if (static_cast<long>(text.size()) - bodyStart >= length) {
      text.resize(static_cast<size_t>(std::max(0L, bodyStart + length)));
      break;
    }
  }
  return text;
}

std::vector<std::string> randomChunks(std::mt19937* random) {
  const std::string pieces[] = {"Content-Length:",
                                "Content-",
                                "Length:",
                                " ",
                                "3",
                                "-2",
                                "0",
                                "\r\n",
                                "\r\n\r\n",
                                "\r",
                                "\n",
                                "A: b",
                                "C",
                                std::string(1, '\0')};
  std::string text = kStatus;
  for (size_t n = (*random)() % 16; n > 0; --n) {
    text += pieces[(*random)() % std::size(pieces)];
  }
  const size_t longest = (*random)() % 2 == 0 ? 4 : 40;
  std::vector<std::string> chunks;
  for (size_t from = 0; from < text.size(); from += chunks.back().size()) {
    chunks.push_back(text.substr(from, 1 + (*random)() % longest));
  }
  return chunks;
}

TEST_F(ResponseReading, missesNothingWhereverAChunkEnds) {
  Pellion::Web::Utils::logCleanup();
  std::vector<std::vector<std::string>> answers;
  for (const std::string& text : {withLength(" 12", "hello, world"), withLength(" -5", "hello")}) {
    for (size_t end = 1; end < text.size(); ++end) {
      answers.push_back({text.substr(0, end), text.substr(end)});
    }
  }
  std::mt19937 random(20261);
  for (int i = 0; i < 1500; ++i) {
    answers.push_back(randomChunks(&random));
  }
  ScriptedServer server(answering(answers));
  for (const auto& chunks : answers) {
    const std::unique_ptr<HttpResponse> expected(
        HttpResponse::parse(readBySearchingFromTheStart(chunks)));
    ASSERT_EQ(receiveInChunks(server, chunks), outcome(expected.get()))
        << testing::PrintToString(chunks);
  }
}

TEST_F(ResponseReading, costsTimeAndMemoryInProportionToTheBody) {
  constexpr size_t kSize = 8 << 20;
  const std::string body(kSize, 'C');  // each byte might begin the header's name
  const struct {
    std::string text;
    double allowed;
  } cases[] = {{test_support::httpResponse(body), 2.2},
               {kStatus + "\r\n" + body, 3.2},
               {withLength(" 2147483647", body), 3.2}};
  for (const auto& c : cases) {
    ScriptedServer server(c.text);
    HttpRequest request("127.0.0.1", static_cast<unsigned short>(server.port()));
    const auto start = std::chrono::steady_clock::now();
    system_call_faults::startMeasuringMemory();
    const std::unique_ptr<HttpResponse> response(request.invoke());
    ASSERT_NE(response, nullptr);
    const std::string data = response->data();
    EXPECT_LE(static_cast<double>(system_call_faults::peakMemory()), c.allowed * kSize);
    EXPECT_LE(system_call_faults::allocatedMemory(), 8 * kSize);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
    EXPECT_EQ(data, body);
  }
}

TEST_F(ResponseReading, allocatesNothingForAnAnnouncementAlone) {
  for (const char* length : {" 2147483647", " 99999999999999999999", " 1000000000"}) {
    ScriptedServer server(withLength(length, "hello"));
    system_call_faults::startMeasuringMemory();
    EXPECT_EQ(receiveInChunks(server, {}), "200 hello");
    EXPECT_LT(system_call_faults::peakMemory(), 16u << 10) << length;
  }
}

}  // namespace
