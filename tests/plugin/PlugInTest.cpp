#include <gtest/gtest.h>

#include <memory>

#include "plugin/src/HttpResponse.h"
#include "plugin/src/PlugIn.h"
#include "plugin/src/Transfer.h"
#include "plugin/src/TransfersPoller.h"
#include "plugin/src/Utils.h"
#include "tests/plugin/JobFakes.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/WaitFor.h"

namespace {

using Pellion::Web::HttpResponse;
using test_support::bodyOf;
using test_support::countThreads;
using test_support::httpResponse;
using test_support::ScriptedServer;
using test_support::waitFor;

const char kNoAnswer[] =
    "Error contacting Orvane Pellion. Ensure that it is running, and not blocked by your firewall "
    "or security policies.";

std::string errorDocument(const std::string& message) {
  return "{\"error\":{\"code\":-1,\"user_message\":\"" + message + "\"}}";
}

std::string message(const std::string& requestLine, const std::string& format,
                    const std::string& body) {
  return requestLine +
         " HTTP/1.1\r\nConnection: close\r\nContent-Length: " + std::to_string(body.size()) +
         "\r\nContent-Type: application/vnd.orvane.xferreq+" + format +
         "\r\nUser-Agent: Orvane Pellion\r\n\r\n" + body;
}

// A body with one transfer; `root` stands in it as JSON text.
std::string transferBody(const std::string& flag, const std::string& direction,
                         const std::string& root) {
  return "{\"transfer_specs\":[{\"orvane_pellion_settings\":{\"use_absolute_destination_path\":" +
         flag + "},\"transfer_spec\":{\"direction\":\"" + direction +
         "\",\"destination_root\":" + root + "}}]}";
}

class PlugIn : public test_support::Sandbox {
 protected:
  PlugIn() { Pellion::Web::Utils::logInit(); }
  ~PlugIn() override {
    _plugIn.reset();
    Pellion::Web::Utils::logCleanup();
  }

  // The request's answer: the body, or what the operation said.
  std::string request(const std::string& data) {
    HttpResponse* answered = nullptr;
    const std::string error = _plugIn->pellionHttpRequest("POST", "/v4/any?x=1", data, &answered);
    const std::unique_ptr<HttpResponse> response(answered);
    EXPECT_EQ(response == nullptr, !error.empty());
    return response ? response->data() : error;
  }

  std::unique_ptr<Pellion::Web::PlugIn> _plugIn = std::make_unique<Pellion::Web::PlugIn>();
};

TEST_F(PlugIn, opensASessionOnce) {
  // Its thread makes the thread sanitizer start its own before the count.
  ScriptedServer server(httpResponse("{}"));
  writeUrlFile(server.port());
  const size_t threads = countThreads();
  EXPECT_EQ(_plugIn->initSession("my\"app", "example.org"), "{\"app_id\":\"my\"app\"}");
  EXPECT_EQ(_plugIn->initSession("other", ""), errorDocument("Session was already initialized"));
  EXPECT_EQ(countThreads(), threads + 1);
  ASSERT_TRUE(waitFor([&] { return server.requestCount() > 0; }));
  EXPECT_NE(server.requests().back().find("\"app_id\": \"my\"app\""), std::string::npos);
  _plugIn.reset();
  // The system forgets a thread a moment after its end was waited for.
  EXPECT_TRUE(waitFor([&] { return countThreads() == threads; }));
}

TEST_F(PlugIn, bindsMarkedApplicationIdsToThePageHost) {
  const struct {
    const char* hostname;
    const char* appId;
    bool accepted;
  } cases[] = {
      {"example.org", "^example.org", true},
      {"example.org", "example.net", true},
      {"example.org", "^www.example.org", false},
      {"example.org", "^Example.org", false},
      {"example.org", "^", false},
      {"example.org", "", true},
      {"", "^example.net", true},
  };
  for (const auto& c : cases) {
    _plugIn->setHostname(c.hostname);
    const std::string refusal =
        errorDocument(std::string("Invalid application ID hostname: ") + c.hostname);
    const std::string expected = c.accepted ? "" : refusal;
    EXPECT_EQ(_plugIn->isAppIdValid(c.appId), expected) << c.appId;
    EXPECT_EQ(_plugIn->isJsonValid(std::string("{\"orvane_pellion_settings\":{\"app_id\":\"") +
                                   c.appId + "\"}}"),
              expected)
        << c.appId;
  }
  EXPECT_FALSE(logLines("  Got: www.example.org").empty());
  // A refused session changes nothing.
  _plugIn->setHostname("example.org");
  EXPECT_NE(_plugIn->initSession("^example.net", "").find("Invalid application ID hostname"),
            std::string::npos);
  EXPECT_EQ(_plugIn->initSession("^example.org", ""), "{\"app_id\":\"^example.org\"}");
}

TEST_F(PlugIn, coversDestinationsByTheLastPick) {
  const struct {
    const char* pick;
    const char* path;
    bool allowed;
  } cases[] = {
      {"/home/u/dl", "/etc/x/y", false},
      {"/home/u/dl", "/tmp/abcde/g", true},
      {"/home/u/dl", "/tmp/abcdef/g", false},
      {"/home/u/dl", "/home/u/dl", true},
      {"/home/u/dl", "/home/u/dl/sub", true},
      {"/home/u/dl", "\\home\\u\\dl\\sub", true},
      {"/home/u/dl", "/home/u/dlx", false},
      {"/home/u/dl", "/home/u/d", false},
      {"/home/u/dl", "", false},
      {"/home/u/dl", "home/other/x", true},
      {"/home/u/dl", "xome/other/x", false},
      {"/home/u/dl", "x/home/u/dl", false},
      {"/home/u/dl", "hhhhhhhhhh/x", true},
      {"C:\\dl", "C:/dl/a", true},
      {"", "/home/u/dl", false},
      {"", "", false},
  };
  for (const auto& c : cases) {
    _plugIn->setLastSelectedPath(c.pick);
    EXPECT_EQ(_plugIn->allowDestRoot(c.path), c.allowed) << c.pick << " covers " << c.path;
  }
}

TEST_F(PlugIn, checksTheFirstTransferOfABodyAndUsesUpThePick) {
  const std::string unauthorized =
      "The website attempted to transfer to an unauthorized directory: ";
  const struct {
    const char* label;
    std::string body;
    std::string error;
    bool pickKept;
  } cases[] = {
      {"no transfer", "{}", "", true},
      {"not an array", "{\"transfer_specs\":{}}", "", true},
      {"empty array", "{\"transfer_specs\":[]}", "", true},
      {"no object in the array", "{\"transfer_specs\":[7]}", "", false},
      {"covered", transferBody("true", "receive", "\"/home/u/dl/x\""), "", false},
      {"outside", transferBody("true", "receive", "\"/etc\""), unauthorized + "/etc", true},
      {"outside, with a backslash", transferBody("true", "receive", "\"C:\\\\x\""),
       unauthorized + "C:\\\\x", true},
      {"no destination", transferBody("true", "receive", "null"), unauthorized, true},
      {"flag false", transferBody("false", "receive", "\"/etc\""), "", false},
      {"flag a string", transferBody("\"true\"", "receive", "\"/etc\""), "", false},
      {"upload", transferBody("true", "send", "\"/etc\""), "", false},
      {"second element outside",
       "{\"transfer_specs\":[{}," + transferBody("true", "receive", "\"/etc\"").substr(19), "",
       false},
  };
  for (const auto& c : cases) {
    _plugIn->setLastSelectedPath("/home/u/dl");
    EXPECT_EQ(_plugIn->isJsonValid(c.body), c.error.empty() ? "" : errorDocument(c.error))
        << c.label;
    EXPECT_EQ(_plugIn->allowDestRoot("/home/u/dl"), c.pickKept) << c.label;
  }
}

TEST_F(PlugIn, refusesBodiesThatAreNoJson) {
  const std::string start = "{\"error\":{\"code\":-1,\"user_message\":\"Error parsing JSON: ";
  for (const char* body : {"{", "", "{'a':1}", "{} {}"}) {
    const std::string error = _plugIn->isJsonValid(body);
    EXPECT_EQ(error.compare(0, start.size(), start), 0) << body << " gave " << error;
    EXPECT_GT(error.size(), start.size() + 3) << body;
  }
}

TEST_F(PlugIn, passesRequestsThrough) {
  ScriptedServer server(httpResponse("answer", "404 Not Found"));
  writeUrlFile(server.port());
  EXPECT_EQ(request("{\"a\": 1}"), "answer");
  EXPECT_EQ(request(""), "answer");
  EXPECT_NE(request("no json").find("Error parsing JSON"), std::string::npos);
  const std::string liveness = message("GET /v4/pellion/version", "json", "");
  EXPECT_EQ(server.requests(),
            (std::vector<std::string>{liveness, message("POST /v4/any?x=1", "json", "{\"a\": 1}"),
                                      liveness, message("POST /v4/any?x=1", "json", "{}")}));
}

TEST_F(PlugIn, reportsWhatHasNoAnswer) {
  EXPECT_EQ(request("{}"), errorDocument(kNoAnswer));
  EXPECT_FALSE(_plugIn->startDownload("http://x"));
  EXPECT_FALSE(_plugIn->displayAboutWindow());
  // The application answers that it runs, and nothing more.
  ScriptedServer server([](int connection, const std::string& request, size_t) {
    if (request.find("GET /v4/pellion/version ") == 0) {
      test_support::sendAll(connection, httpResponse("{}"));
    }
  });
  writeUrlFile(server.port());
  EXPECT_EQ(request("{}"), errorDocument(kNoAnswer));
  EXPECT_FALSE(_plugIn->startDownload("http://x"));
  EXPECT_EQ(logLines(std::string("ERR ") + kNoAnswer).size(), 5u);
  EXPECT_FALSE(_plugIn->displayAboutWindow());
  EXPECT_EQ(logLines(std::string("ERR Error displaying window: ") + kNoAnswer).size(), 1u);
  EXPECT_EQ(server.requestCount(), 6u);
}

TEST_F(PlugIn, asksForTheApplicationsVersion) {
  ScriptedServer server([](int connection, const std::string&, size_t index) {
    test_support::sendAll(connection, httpResponse(index < 2 ? "{\"version\":\"9\"}" : ""));
  });
  writeUrlFile(server.port());
  EXPECT_EQ(_plugIn->queryPellionVersion(), "{\"version\":\"9\"}");
  EXPECT_EQ(server.requests().back(),
            message("GET /v4/pellion/version", "json",
                    "{\"orvane_pellion_settings\":{\"app_id\":\"version request\"}}"));
  EXPECT_EQ(_plugIn->queryPellionVersion(),
            errorDocument("Error retrieving the Orvane Pellion version"));
}

TEST_F(PlugIn, ownsTheCallbackOfARequestThatItDoesNotQueue) {
  EXPECT_EQ(_plugIn->pellionHttpRequestAsync("GET", "/", "", new FakeCallback(nullptr)),
            errorDocument("Error creating HTTP request"));
  EXPECT_NE(_plugIn->pellionHttpRequestAsync("GET", "/", "{", new FakeCallback(nullptr)), "");
  EXPECT_EQ(FakeCallback::alive, 0);
}

TEST_F(PlugIn, queuesRequestsForTheWorker) {
  ScriptedServer server(httpResponse("answer"));
  writeUrlFile(server.port());
  const size_t threads = countThreads();
  _plugIn->init(0);
  std::atomic<bool> told{false};
  EXPECT_EQ(_plugIn->pellionHttpRequestAsync("PUT", "/q", "", new FakeCallback([&](void* data) {
                                               EXPECT_EQ(static_cast<HttpResponse*>(data)->data(),
                                                         "answer");
                                               told = true;
                                             })),
            "");
  EXPECT_TRUE(waitFor([&] { return told.load(); }));
  EXPECT_EQ(server.requests().back(), message("PUT /q", "json", "{}"));
  EXPECT_EQ(server.requestCount(), 3u);
  _plugIn.reset();
  EXPECT_TRUE(waitFor([&] { return countThreads() == threads; }));
  EXPECT_EQ(logLines("Error joining").size(), 0u);
}

TEST_F(PlugIn, postsTransfersAsDocuments) {
  ScriptedServer server(httpResponse("", "500 Broken"));
  writeUrlFile(server.port());
  std::map<std::string, std::string> parameters = {{"drop-upload-url", "http://up/"}};
  EXPECT_TRUE(_plugIn->configure(parameters));
  EXPECT_EQ(parameters.size(), 3u);
  for (const char* item : {"/one", "", "C:\\two"}) {
    _plugIn->addToUploadList(item);
    _plugIn->addToDownloadList(item);
  }
  const std::string open = "<xferreq xmlns=\"http://schema.orvane.example/xml/xferreq/\">";
  const std::string close = "</xferreq>";
  const auto sent = [&] { return bodyOf(server.requests().back()); };

  EXPECT_TRUE(_plugIn->startDownload("http://x/?a=1&b=<2>"));
  EXPECT_EQ(server.requests().back(),
            message("POST /transfers/", "xml",
                    open + "<src>http://x/?a=1&amp;b=&lt;2&gt;</src>" + close));
  EXPECT_TRUE(_plugIn->startListDownloadToPath(""));
  EXPECT_EQ(sent(), open + "<src>/one</src><src>C:\\two</src>" + close);
  EXPECT_TRUE(_plugIn->startListUploadToURL("http://d/&"));
  EXPECT_EQ(sent(), open +
                        "<src>file:///one</src><src>file://</src><src>file://C:/two</src>"
                        "<dest>http://d/&amp;</dest>" +
                        close);
  EXPECT_TRUE(_plugIn->startUploadToURL("/f", "http://d/"));
  EXPECT_EQ(sent(), open + "<src>file:///f</src><dest>http://d/</dest>" + close);
  EXPECT_TRUE(_plugIn->uploadDroppedFiles({"/a", "/b"}));
  EXPECT_EQ(sent(),
            open + "<src>file:///a</src><src>file:///b</src><dest>http://up/</dest>" + close);
  _plugIn->clearDownloadList();
  EXPECT_TRUE(_plugIn->startListDownloadToPath(""));
  EXPECT_EQ(sent(), open + close);
}

TEST_F(PlugIn, transferParametersAreNeitherEscapedNorClosed) {
  ScriptedServer server(httpResponse(""));
  writeUrlFile(server.port());
  Pellion::Web::Transfer transfer;
  transfer.setSource(std::vector<std::string>{"/replaced", "/too"});
  transfer.setSource("/only");
  transfer.setParam("b", "<&>");
  transfer.setParam("a", "overwritten");
  transfer.setParam("a", "1");
  EXPECT_TRUE(transfer.request());
  EXPECT_EQ(bodyOf(server.requests().back()),
            "<xferreq xmlns=\"http://schema.orvane.example/xml/xferreq/\"><src>/only</src>"
            "<param name=\"a value=\"1\"><param name=\"b value=\"<&>\"></xferreq>");
}

TEST_F(PlugIn, downloadsToAPickedPathOnce) {
  ScriptedServer server(httpResponse(""));
  writeUrlFile(server.port());
  EXPECT_FALSE(_plugIn->startDownloadToPath("http://x", "/home/u/dl"));
  EXPECT_EQ(server.requestCount(), 0u);
  EXPECT_EQ(
      logLines("ERR The website attempted to transfer to an unauthorized directory: /home/u/dl")
          .size(),
      1u);

  _plugIn->setLastSelectedPath("\\home\\u\\dl");
  EXPECT_TRUE(_plugIn->startDownloadToPath("http://x", "/home/u/dl/sub"));
  EXPECT_NE(server.requests().back().find("<dest>file:///home/u/dl/sub</dest>"), std::string::npos);
  EXPECT_EQ(logLines("Accepted download to /home/u/dl/sub (user selected /home/u/dl)").size(), 1u);
  EXPECT_FALSE(_plugIn->startDownloadToPath("http://x", "/home/u/dl/sub"));

  // An upload and a download without a destination use the pick up as well.
  _plugIn->setLastSelectedPath("/home/u/dl");
  EXPECT_TRUE(_plugIn->startUploadToURL("/f", "http://d/"));
  EXPECT_FALSE(_plugIn->allowDestRoot("/home/u/dl"));
  _plugIn->setLastSelectedPath("/home/u/dl");
  EXPECT_TRUE(_plugIn->startDownload("http://x"));
  EXPECT_FALSE(_plugIn->allowDestRoot("/home/u/dl"));
}

TEST_F(PlugIn, showsTheApplicationsWindows) {
  ScriptedServer server(httpResponse("", "404 Not Found"));
  writeUrlFile(server.port());
  EXPECT_TRUE(_plugIn->displayTransferManager());
  EXPECT_EQ(server.requests().back(), message("GET /windows/transfer-manager/", "xml", ""));
  EXPECT_TRUE(_plugIn->displayAboutWindow());
  EXPECT_EQ(server.requests().back(), message("GET /windows/about/", "xml", ""));
  EXPECT_TRUE(_plugIn->displayPreferencesWindow());
  EXPECT_EQ(server.requests().back(), message("GET /windows/preferences/", "xml", ""));
}

TEST_F(PlugIn, recognisesTheBrowser) {
  const std::pair<const char*, const char*> cases[] = {
      {"Mozilla/5.0 Firefox/52.0", "firefox"}, {"Chrome/90 Safari/537", "chrome"},
      {"SAFARI chrome FIREFOX", "firefox"},    {"Version/9 Safari/601", "safari"},
      {"WebKitGTK+ X", "webkitgtk+ x"},
  };
  for (const auto& [text, expected] : cases) {
    _plugIn->setHostBrowser(text);
    const std::string line = logLines("Browser host: ").back();
    EXPECT_EQ(line.substr(line.rfind(": ") + 2), expected);
  }
  EXPECT_EQ(_plugIn->queryBrowserEngine(Pellion::Web::eNpapiPlugInHostApi), "Gecko");
  EXPECT_EQ(_plugIn->queryBrowserEngine(static_cast<Pellion::Web::PlugInHostApi_e>(3)), "Unknown");
}

}  // namespace
