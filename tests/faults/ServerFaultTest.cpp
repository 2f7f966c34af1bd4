#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include "tests/faults/FaultPage.h"

namespace {

using test_support::httpResponse;
using test_support::PageArguments;
using test_support::sendAll;

constexpr size_t kMebibyte = 1024 * 1024;
const std::string kStatus = "HTTP/1.1 200 OK\r\n";

// The connection's close will be a reset.
void resetOnClose(int connection) {
  const linger none = {1, 0};
  setsockopt(connection, SOL_SOCKET, SO_LINGER, &none, sizeof(none));
}

// Sends a beginning, and `size` bytes that repeat a text.
std::function<void(int)> much(const std::string& beginning, const std::string& text, size_t size) {
  std::string piece;
  while (piece.size() < 64 * 1024) {
    piece += text;
  }
  return [=](int connection) {
    sendAll(connection, beginning);
    for (size_t sent = 0; sent < size && sendAll(connection, piece); sent += piece.size()) {
    }
  };
}

void stayQuiet(int) {
  std::this_thread::sleep_for(std::chrono::seconds(2));
}

struct ServerFault {
  const char* label;
  std::function<void(int connection)> answer;
  std::vector<std::string> log;
  std::string page = "the error document";
  size_t peakMib = 64;
  // Its liveness request fails, too, unless that would only take longer.
  bool always = true;

  friend std::ostream& operator<<(std::ostream& out, const ServerFault& f) {
    return out << f.label;
  }
};

std::function<void(int)> text(const std::string& response) {
  return [response](int connection) { sendAll(connection, response); };
}

std::function<void(int)> announcing(const std::string& length) {
  return text(kStatus + "Content-Length: " + length + "\r\n\r\nhello");
}

class ServerFaults : public FaultPage, public testing::WithParamInterface<ServerFault> {};

TEST_P(ServerFaults, reachThePageAs) {
  const ServerFault& fault = GetParam();
  open();
  std::string page;
  for (const bool always : {false, true}) {
    for (const Way way : {Way::kWaiting, Way::kQueued}) {
      if (always && !fault.always) {
        continue;
      }
      serve(fault.answer, always);
      page = ask(way);
      EXPECT_EQ(fault.page, page) << "always? " << always;
    }
  }
  expectLogged(fault.log);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  EXPECT_LE(peakMib(), fault.peakMib);
#endif
  close(std::string("the application ") + fault.label, page);
}

const char kError[] = "the error document";
const char kClosed[] = "ERR recv() returned 0";
const char kReset[] = "ERR recv() returned -1";
const char kNoAnswer[] = "ERR Error contacting Orvane Pellion. ";
// The thread sanitizer takes minutes for as much as the others get.
#if defined(__SANITIZE_THREAD__)
#define MUCH "20"
#define HEADERS "6"
#else
#define MUCH "200"
#define HEADERS "64"
#endif
const size_t kHeaders = std::stoul(HEADERS) * kMebibyte;
const size_t kBody = std::stoul(MUCH) * kMebibyte;
const std::string kBodyPage = std::to_string(kBody) + " bytes of x";

const std::string kBodyLength = "Content-Length: " + std::to_string(kBody) + "\r\n\r\n";
const std::string kNul(1, '\0');

const ServerFault kFaults[] = {
    {"closes without a word", [](int) {}, {kClosed, kNoAnswer}},
    {"resets", resetOnClose, {kReset, kNoAnswer}},
    {"is silent for two seconds, then closes", stayQuiet, {kClosed, kNoAnswer}, kError, 64, false},
    {"announces 9 of 5 bytes", announcing("9"), {kClosed}, "\"hello\""},
    {"announces 2147483647 bytes", announcing("2147483647"), {kClosed}, "\"hello\""},
    {"says no more than NULs, 1 MiB", much("", kNul, kMebibyte), {kClosed, kNoAnswer}},
    {"has a body of 1 MiB of NULs",
     much(kStatus + "Content-Length: 1048576\r\n\r\n", kNul, kMebibyte),
     {kClosed},
     "\"\""},
    {"sends format directives",
     text(httpResponse("%s%n%1000000d")),
     {"response=%s%n%1000000d"},
     "\"%s%n%1000000d\""},
    {"sends " HEADERS " MiB of headers and closes",
     much(kStatus, "a: b\r\n", kHeaders),
     {kClosed, kNoAnswer},
     kError,
     256,
     false},
    {"sends one header of " HEADERS " MiB and closes",
     much(kStatus, "h", kHeaders),
     {kClosed, kNoAnswer},
     kError,
     256,
     false},
    {"sends a body of " MUCH " MiB",
     much(kStatus + kBodyLength, "x", kBody),
     {"DBG HttpRequest::invoke() - Response ("},
     kBodyPage,
     1500,
     false},
    {"sends " MUCH " MiB without a length",
     much(kStatus + "\r\n", "x", kBody),
     {kClosed},
     kBodyPage,
     1500,
     false},
};

INSTANTIATE_TEST_SUITE_P(, ServerFaults, testing::ValuesIn(kFaults),
                         [](const auto& suite) { return nameOfRow(suite.param.label); });

TEST_F(FaultPage, isToldThatTheApplicationRefuses) {
  open();
  for (const Way way : {Way::kWaiting, Way::kQueued}) {
    serve([this](int connection) {
      server->refuseFurther();
      sendAll(connection, httpResponse("alive"));
    });
    EXPECT_EQ("the error document", ask(way));
    EXPECT_EQ("the error document", ask(way));  // now the liveness request, too
  }
  expectLogged({"LOG Connection failed for socket", kNoAnswer});
  close("the application refuses", "the error document");
}

// Each poll meets another fault; the page gets the good answers only, and the poller goes on.
TEST_F(FaultPage, getsEventsBetweenFaultyPolls) {
  const std::vector<std::function<void(int)>> answers = {
      [](int) {},
      resetOnClose,
      announcing("-9"),
      text(httpResponse("{\"iteration_token\"")),
      text(httpResponse("{\"error\":{}}")),
      text(httpResponse(std::string(1000000, '['))),
      text(httpResponse("{\"iteration_token\":7}"))};
  open("0", true);
  events.clear();
  std::atomic<size_t> index{0};
  serve([&](int connection) { answers[std::min(index++, answers.size() - 1)](connection); }, false);
  // The poller itself does not look for another address.
  browser.call(object, "queryPellionVersion");
  ASSERT_TRUE(browser.pumpUntil([&] { return !events.empty(); }));
  server.reset();
  EXPECT_EQ("{\"iteration_token\":7}", events.front());
  expectLogged({kClosed, kReset, "ERR Error parsing JSON: ",
                "ERR Transfer poller response contained an error: {\"error\":{}}",
                "nested deeper than 10000 levels"});
  close("the application answers six polls wrongly and the seventh well",
        "one event, with the good answer");
}

}  // namespace
