#include <gtest/gtest.h>

#include "plugin/src/Url.h"
#include "plugin/src/Utils.h"
#include "tests/support/Sandbox.h"

namespace {

class Url : public test_support::Sandbox {
 protected:
  Url() { Pellion::Web::Utils::logInit(); }
  ~Url() override { Pellion::Web::Utils::logCleanup(); }
};

TEST_F(Url, isSplitAtItsDelimiters) {
  const struct {
    const char *text, *host;
    int port;
    const char *path, *query, *user, *password;
  } cases[] = {
      {"http://127.0.0.1:4001/", "127.0.0.1", 4001, "", "", "", ""},
      {"http://localhost:8080/a/b?x=1", "localhost", 8080, "a/b", "x=1", "", ""},
      {"http://host", "host", 0, "", "", "", ""},
      {"http://u:p@host:1/x", "host", 1, "x", "", "u", "p"},
      {"http://host/path", "host", 0, "path", "", "", ""},
      {"http://host?x=1", "host?x=1", 0, "", "", "", ""},
      // Ends without a slash.
      {"http://host:4001", "host", 4001, "", "", "", ""},
      {"http://u@host", "u@host", 0, "", "", "u", ""},
      {"http://u:p@host", "u:p@host", 0, "", "", "u", "p"},
      // User information.
      {"http://a:b:c@host/", "host", 0, "", "", "b", "c"},
      {"http://host:1/x@y", "host:1", 0, "x@y", "", "host", ""},
      // A delimiter in front ends the scan.
      {"http:///path", "", 0, "", "", "", ""},
      {"http://", "", 0, "", "", "", ""},
      // Ports and queries.
      {"http://h:65537/", "h", 1, "", "", "", ""},
      {"http://h:x/", "h", 0, "", "", "", ""},
      {"http://h: 80x/", "h", 80, "", "", "", ""},
      {"http://h/?a?b/c", "h", 0, "", "a?b/c", "", ""},
      {"http://127.0.0.1:4001/\n", "127.0.0.1", 4001, "\n", "", "", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const Pellion::Web::Url url(c.text);
    EXPECT_TRUE(url.valid());
    EXPECT_EQ(url.url(), c.text);
    EXPECT_EQ(url.scheme(), "http");
    EXPECT_EQ(url.host(), c.host);
    EXPECT_EQ(url.port(0), c.port);
    EXPECT_EQ(url.port(99), c.port != 0 ? c.port : 99);
    EXPECT_EQ(url.path(), c.path);
    EXPECT_EQ(url.query(), c.query);
    EXPECT_EQ(url.user(), c.user);
    EXPECT_EQ(url.password(), c.password);
  }
  EXPECT_EQ(logText(), "");
}

TEST_F(Url, withoutASchemeIsInvalidAndLogged) {
  Pellion::Web::Url url("a://u:p@host:1/path?query");
  ASSERT_EQ(url.query(), "query");
  for (const char* text : {"", "localhost:80/%s%n"}) {
    url.parse(text);
    EXPECT_FALSE(url.valid());
    EXPECT_EQ(url.host() + url.password() + url.path() + url.query() + url.scheme() + url.user(),
              "");
    EXPECT_EQ(url.port(7), 7);
    EXPECT_NE(logText().find(std::string("ERR Invalid URL: ") + text + "\n"), std::string::npos);
  }
}

}  // namespace
