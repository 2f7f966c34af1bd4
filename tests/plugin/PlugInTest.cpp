#include <gtest/gtest.h>

#include <memory>

#include "plugin/src/HttpResponse.h"
#include "plugin/src/PlugIn.h"
#include "plugin/src/Transfer.h"
#include "tests/plugin/JobFakes.h"
#include "tests/plugin/LoggedSandbox.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/WaitFor.h"

namespace {

using Pellion::Web::HttpResponse;
using test_support::bodyOf;
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

std::string transfers(const std::string& content) {
  return "<xferreq xmlns=\"http://schema.orvane.example/xml/xferreq/\">" + content + "</xferreq>";
}

class PlugIn : public LoggedSandbox {
 protected:
  // The request's answer: the body, or what the operation said.
  std::string request(const std::string& data) {
    HttpResponse* answered = nullptr;
    const std::string error = _plugIn.pellionHttpRequest("POST", "/v4/any?x=1", data, &answered);
    const std::unique_ptr<HttpResponse> response(answered);
    EXPECT_EQ(response == nullptr, !error.empty());
    return response ? response->data() : error;
  }

  Pellion::Web::PlugIn _plugIn;
};

TEST_F(PlugIn, opensASessionOnce) {
  ScriptedServer server(httpResponse("{}"));
  writeUrlFile(server.port());
  EXPECT_EQ(_plugIn.initSession("my\"app", "example.org"), "{\"app_id\":\"my\"app\"}");
  EXPECT_EQ(_plugIn.initSession("other", ""), errorDocument("Session was already initialized"));
  ASSERT_TRUE(waitFor([&] { return server.requestCount() > 0; }));
  EXPECT_NE(server.requests().back().find("\"app_id\": \"my\"app\""), std::string::npos);
}

TEST_F(PlugIn, bindsMarkedApplicationIdsToThePageHost) {
  const struct {
    const char *hostname, *appId;
    bool accepted;
  } cases[] = {{"example.org", "^example.org", true},
               {"example.org", "example.net", true},
               {"example.org", "^w.example.org", false},
               {"example.org", "^Example.org", false},
               {"example.org", "^", false},
               {"example.org", "", true},
               {"", "^example.net", true}};
  for (const auto& c : cases) {
    _plugIn.setHostname(c.hostname);
    EXPECT_EQ(_plugIn.isAppIdValid(c.appId),
              c.accepted ? "" : errorDocument("Invalid application ID hostname: example.org"))
        << c.appId;
  }
  EXPECT_EQ(logLines("  Got: w.example.org").size(), 1u);
}

// Which paths a pick covers apart from this is a table of its own, with the page's calls.
TEST_F(PlugIn, coversOddDestinationsByTheLastPick) {
  const struct {
    const char *pick, *path;
    bool allowed;
  } cases[] = {{"/home/u/dl", "\\home\\u\\dl\\sub", true},
               {"/home/u/dl", "home/other/x", true},
               {"/home/u/dl", "xome/other/x", false},
               {"/home/u/dl", "hhhhhhhhhh/x", true},
               {"/home/u/dl", "", false},
               {"C:\\dl", "C:/dl/a", true},
               {"", "/home/u/dl", false},
               {"", "", false}};
  for (const auto& c : cases) {
    _plugIn.setLastSelectedPath(c.pick);
    EXPECT_EQ(_plugIn.allowDestRoot(c.path), c.allowed) << c.pick << " covers " << c.path;
  }
}

TEST_F(PlugIn, checksOddBodiesAndKeepsThePickUnlessTheyTransfer) {
  const std::string unauthorized =
      "The website attempted to transfer to an unauthorized directory: ";
  const auto download = [](const std::string& flag, const std::string& root) {
    return "{\"transfer_specs\":[{\"orvane_pellion_settings\":{\"use_absolute_destination_path\":" +
           flag + "},\"transfer_spec\":{\"direction\":\"receive\",\"destination_root\":" + root +
           "}}]}";
  };
  const struct {
    std::string body, error;
    bool pickKept;
  } cases[] = {{"{\"transfer_specs\":{}}", "", true},
               {"{\"transfer_specs\":[7]}", "", false},
               {download("\"true\"", "\"/etc\""), "", false},
               {download("true", "null"), unauthorized, true},
               {download("true", "\"C:\\\\x\""), unauthorized + "C:\\\\x", true}};
  for (const auto& c : cases) {
    _plugIn.setLastSelectedPath("/home/u/dl");
    EXPECT_EQ(_plugIn.isJsonValid(c.body), c.error.empty() ? "" : errorDocument(c.error)) << c.body;
    EXPECT_EQ(_plugIn.allowDestRoot("/home/u/dl"), c.pickKept) << c.body;
  }
}

TEST_F(PlugIn, passesRequestsThroughAtOnceOrByTheWorker) {
  ScriptedServer server(httpResponse("answer", "404 Not Found"));
  writeUrlFile(server.port());
  EXPECT_EQ(request("{\"a\": 1}"), "answer");
  EXPECT_EQ(request("{'a':1}").find(errorDocument("Error parsing JSON: ").substr(0, 50)), 0u);
  std::atomic<bool> told{false};
  auto* callback = new FakeCallback([&](void* data) {
    EXPECT_EQ(static_cast<HttpResponse*>(data)->data(), "answer");
    told = true;
  });
  EXPECT_EQ(_plugIn.pellionHttpRequestAsync("PUT", "/q", "", callback), "");
  _plugIn.init(0);
  EXPECT_TRUE(waitFor([&] { return told.load(); }));
  const std::string liveness = message("GET /v4/pellion/version", "json", "");
  EXPECT_EQ(server.requests(),
            (std::vector<std::string>{liveness, message("POST /v4/any?x=1", "json", "{\"a\": 1}"),
                                      liveness, liveness, message("PUT /q", "json", "{}")}));
}

TEST_F(PlugIn, reportsWhatHasNoAnswer) {
  for (const char* body : {"", "[1"}) {
    const std::string refusal =
        _plugIn.pellionHttpRequestAsync("GET", "/", body, new FakeCallback(nullptr));
    EXPECT_NE(refusal.find(*body == '[' ? "Error parsing JSON" : "Error creating HTTP request"),
              std::string::npos);
    EXPECT_EQ(FakeCallback::alive, 0);
  }
  EXPECT_EQ(request("{}"), errorDocument(kNoAnswer));
  // The application answers that it runs, and then nothing more, or no version.
  ScriptedServer server([](int connection, const std::string& request, size_t index) {
    if (index >= 6 || request.find("GET /v4/pellion/version ") == 0) {
      test_support::sendAll(connection, httpResponse(""));
    }
  });
  writeUrlFile(server.port());
  EXPECT_EQ(request("{}"), errorDocument(kNoAnswer));
  EXPECT_FALSE(_plugIn.startDownload("http://x"));
  EXPECT_FALSE(_plugIn.displayAboutWindow());
  EXPECT_EQ(logLines(std::string("ERR ") + kNoAnswer).size(), 3u);
  EXPECT_EQ(logLines(std::string("ERR Error displaying window: ") + kNoAnswer).size(), 1u);
  EXPECT_EQ(_plugIn.queryPellionVersion(),
            errorDocument("Error retrieving the Orvane Pellion version"));
  EXPECT_EQ(server.requests().back(),
            message("GET /v4/pellion/version", "json",
                    "{\"orvane_pellion_settings\":{\"app_id\":\"version request\"}}"));
}

TEST_F(PlugIn, postsTransfersAndShowsWindowsWhateverTheStatus) {
  ScriptedServer server(httpResponse("", "500 Broken"));
  writeUrlFile(server.port());
  std::map<std::string, std::string> parameters;
  EXPECT_TRUE(_plugIn.configure(parameters));
  EXPECT_EQ(parameters.size(), 3u);
  for (const char* item : {"/one?a&b=<2>", "", "C:\\two"}) {
    _plugIn.addToUploadList(item);
  }
  EXPECT_TRUE(_plugIn.startListUploadToURL("http://d/&"));
  const std::string sources =
      "<src>file:///one?a&amp;b=&lt;2&gt;</src><src>file://</src><src>file://C:/two</src>";
  EXPECT_EQ(server.requests().back(),
            message("POST /transfers/", "xml", transfers(sources + "<dest>http://d/&amp;</dest>")));
  EXPECT_TRUE(_plugIn.displayPreferencesWindow());
  EXPECT_EQ(server.requests().back(), message("GET /windows/preferences/", "xml", ""));
  // Parameters are neither escaped nor closed.
  Pellion::Web::Transfer transfer;
  transfer.setSource(std::vector<std::string>{"/replaced", "/too"});
  transfer.setSource("/only");
  transfer.setParam("b", "<&>");
  transfer.setParam("a", "overwritten");
  transfer.setParam("a", "1");
  EXPECT_TRUE(transfer.request());
  EXPECT_EQ(
      bodyOf(server.requests().back()),
      transfers("<src>/only</src><param name=\"a value=\"1\"><param name=\"b value=\"<&>\">"));
}

TEST_F(PlugIn, recognisesTheBrowser) {
  const std::pair<const char*, const char*> cases[] = {
      {"Mozilla/5.0 Firefox/52.0", "firefox"}, {"Chrome/90 Safari/537", "chrome"},
      {"SAFARI chrome FIREFOX", "firefox"},    {"Version/9 Safari/601", "safari"},
      {"WebKitGTK+ X", "webkitgtk+ x"},
  };
  for (const auto& [text, expected] : cases) {
    _plugIn.setHostBrowser(text);
    const std::string line = logLines("Browser host: ").back();
    EXPECT_EQ(line.substr(line.rfind(": ") + 2), expected);
  }
  EXPECT_EQ(_plugIn.queryBrowserEngine(static_cast<Pellion::Web::PlugInHostApi_e>(3)), "Unknown");
}

}  // namespace
