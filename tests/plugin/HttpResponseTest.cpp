#include <gtest/gtest.h>

#include <memory>

#include "plugin/src/HttpResponse.h"

namespace {

using Pellion::Web::HttpResponse;

std::unique_ptr<HttpResponse> parse(const std::string& text) {
  return std::unique_ptr<HttpResponse>(HttpResponse::parse(text));
}

TEST(HttpResponse, readsTheCodeBetweenTheFirstTwoBlanks) {
  const struct {
    const char* statusLine;
    int code;  // -1: no response
  } cases[] = {
      {"HTTP/1.1 404 Not Found", 404},
      {"HTTP/1.1 200 ", 200},
      {"HTTP/1.1 OK 200", 0},
      {"HTTP/1.1 65537 OK", 1},
      {"HTTP/1.1 99999999999 OK", 65535},
      {"HTTP/1.1 200", -1},
  };
  for (const auto& c : cases) {
    const auto response = parse(std::string(c.statusLine) + "\r\n\r\n");
    EXPECT_EQ(response == nullptr ? -1 : response->statusCode(), c.code) << c.statusLine;
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
