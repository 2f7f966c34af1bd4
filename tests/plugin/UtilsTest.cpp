#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include "ovlib/overrno.h"
#include "ovlib/ovlog.h"
#include "plugin/src/HttpRequest.h"
#include "plugin/src/HttpResponse.h"
#include "plugin/src/Utils.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScriptedServer.h"

namespace {

using Pellion::Web::HttpRequest;
using Pellion::Web::HttpResponse;
using test_support::httpResponse;
using test_support::ScriptedServer;

class Utils : public test_support::Sandbox {
 protected:
  ~Utils() override { Pellion::Web::Utils::logCleanup(); }
};

TEST_F(Utils, addressesRequestsToTheApplicationWithTheirContentType) {
  ScriptedServer server(httpResponse("{}"));
  writeUrlFile(server.port());
  const struct {
    Pellion::Web::ContentType_e type;
    const char* header;
  } cases[] = {
      {Pellion::Web::eContentJson, "\r\nContent-Type: application/vnd.orvane.xferreq+json\r\n"},
      {Pellion::Web::eContentXml, "\r\nContent-Type: application/vnd.orvane.xferreq+xml\r\n"},
  };
  for (const auto& c : cases) {
    const std::unique_ptr<HttpRequest> request(
        Pellion::Web::Utils::createHttpRequest("PUT", "/a?b", "data", c.type));
    ASSERT_NE(request, nullptr);
    const std::unique_ptr<HttpResponse> response(request->invoke());
    EXPECT_NE(response, nullptr);
    const std::string sent = server.requests().back();
    EXPECT_EQ(sent.find("PUT /a?b HTTP/1.1\r\n"), 0u) << sent;
    EXPECT_NE(sent.find(c.header), std::string::npos) << sent;
    EXPECT_EQ(test_support::bodyOf(sent), "data");
  }
}

TEST_F(Utils, makesNoRequestWithoutAnAddress) {
  EXPECT_EQ(Pellion::Web::Utils::createHttpRequest(Pellion::Web::eContentJson), nullptr);
  writeUrlFile("127.0.0.1:80");
  EXPECT_EQ(Pellion::Web::Utils::createHttpRequest("GET", "/", "", Pellion::Web::eContentJson),
            nullptr);
  // Port 0 makes a request, which nobody answers.
  writeUrlFile("http://127.0.0.1/");
  const std::unique_ptr<HttpRequest> request(
      Pellion::Web::Utils::createHttpRequest(Pellion::Web::eContentJson));
  ASSERT_NE(request, nullptr);
  EXPECT_EQ(request->invoke(), nullptr);
}

TEST_F(Utils, writesListsWithoutEscaping) {
  EXPECT_EQ(Pellion::Web::Utils::toJsonStr({}), "[]");
  EXPECT_EQ(Pellion::Web::Utils::toJsonStr({"one"}), "[\"one\"]");
  EXPECT_EQ(Pellion::Web::Utils::toJsonStr({"a\"b", "", "c\\d"}), "[\"a\"b\",\"\",\"c\\d\"]");
}

TEST_F(Utils, namesLibraryAndSystemErrors) {
  EXPECT_EQ(Pellion::Web::Utils::errorCodeToStr(OV_EUUID), "Could not create UUID string");
  EXPECT_EQ(Pellion::Web::Utils::errorCodeToStr(OV_ENOENT), "No such file or directory");
}

TEST_F(Utils, startsTheLogOnceWithFullDetail) {
  Pellion::Web::Utils::logCleanup();
  Pellion::Web::Utils::logInit();
  Pellion::Web::Utils::logInit();
  EXPECT_EQ(g_dbg_level, 3);
  ov_dbg("a debug line");
  EXPECT_EQ(logLines("a debug line").size(), 1u);
  Pellion::Web::Utils::logCleanup();
  ov_err("after the end");
  EXPECT_TRUE(logLines("after the end").empty());
  Pellion::Web::Utils::logInit();
  ov_err("started again");
  EXPECT_EQ(logLines("started again").size(), 1u);
}

TEST_F(Utils, logsExceptionTextsAsHarmlessFormats) {
  Pellion::Web::Utils::logInit();
  Pellion::Web::Utils::logException(std::runtime_error("50%% of %s%n"));
  Pellion::Web::Utils::logException("While testing", std::runtime_error("100%"));
  EXPECT_EQ(logLines("50% of %s%n").size(), 1u);
  EXPECT_EQ(logLines("While testing: 100%").size(), 1u);
}

}  // namespace
