#include <gmock/gmock.h>
#include <signal.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/Sandbox.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/WaitFor.h"
#include "tests/web_host/HostProcess.h"
#include "tools/web_host/FrameParser.h"

namespace test_support {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::AnyOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

const char kOrigin[] = "https://a.example";
const char kLeave[] = R"({"tell":"leave","origin":"https://a.example","leave":"allow"})";

const std::string kGif(  // two white pixels
    "GIF89a\2\0\1\0\x80\0\0\xff\xff\xff\0\0\0,\0\0\0\0\2\0\1\0\0\2\2\4\n\0;", 35);

class Conversation : public Sandbox {
 protected:
  Conversation() {
    setUpHost(home());
    unsetenv("DISPLAY");
    writePathFile(APPLICATIONS);
    fs::create_directories(path("etc/orvane-web"));
    writeFile(path("etc/orvane-web/sites"),
              "allow https://a.example\nallow file://\nallow http://127.0.0.1:8080\n");
    _host = std::make_unique<HostProcess>(path("stderr"));
  }
  void TearDown() override {
    _host.reset();
    endApplication();
  }

  void greet(const std::string& address = "https://a.example/x.html") {
    _host->greet(kOrigin, address);
  }
  // Greets, and makes element 1.
  void makeFirst(const std::string& params = "") {
    greet();
    _host->send(makeElement(params));
    EXPECT_EQ(_host->receive(), kLeave);
    EXPECT_EQ(_host->receive(), R"({"answer":1})");
  }

  std::unique_ptr<HostProcess> _host;
};

TEST_F(Conversation, goesAsThePageWould) {
  const struct {
    const char* label;
    std::vector<std::string> sent;
    std::vector<std::string> received;
  } kRows[] = {
      {"a call before its element, in the page's order",
       {R"({"n":2,"op":"call","element":1,"name":"initSession","args":["app","a.example"]})",
        makeElement()},
       {kLeave, R"({"answer":1})", R"({"answer":2,"value":"{\"app_id\":\"app\"}"})"}},
      {"a refusal",
       {R"({"n":3,"op":"call","element":1,"name":"initSession","args":[]})",
        R"({"n":4,"op":"call","element":1,"name":"toString","args":[]})"},
       {R"({"answer":3,"refused":true,"text":"Error calling method on NPObject."})",
        R"({"answer":4,"refused":true,"text":"Error calling method on NPObject."})"}},
      {"properties, with the page's own object",
       {R"({"n":5,"op":"set","element":1,"name":"eventHandler",)"
        R"("value":{"v":"object","id":7,"callable":true}})",
        R"({"n":6,"op":"get","element":1,"name":"eventHandler"})",
        R"({"n":7,"op":"get","element":1,"name":"nothing"})",
        R"({"n":8,"op":"set","element":1,"name":"nothing","value":1})"},
       {R"({"answer":5})", R"({"answer":6,"value":{"v":"object","id":7}})", R"({"answer":7})",
        R"({"answer":8,"refused":true,"text":"Error setting property on NPObject."})"}},
      {"values that are no functions, where one is wanted",
       {R"({"n":9,"op":"set","element":1,"name":"eventHandler","value":{"v":"number","text":"NaN"}})",
        R"({"n":10,"op":"get","element":1,"name":"eventHandler"})"},
       {R"({"answer":9})", R"({"tell":"release","object":7,"mentions":1})",
        R"({"answer":10,"value":null})"}},
      {"numbers given up, and wrong operations, keep the order",
       {R"({"n":13,"op":"skip"})", R"({"n":12,"op":"dance","element":1})",
        R"({"n":11,"op":"call","element":1,"name":5,"args":[]})"},
       {R"({"answer":11,"error":"Orvane Web: \"name\" must be a string."})",
        R"({"answer":12,"error":"Orvane Web: There is no operation \"dance\"."})",
        R"({"answer":13})"}},
      {"what an element mentions twice is released once, with both mentions",
       {R"({"n":14,"op":"set","element":1,"name":"eventHandler",)"
        R"("value":{"v":"object","id":7,"callable":true}})",
        R"({"n":15,"op":"set","element":1,"name":"eventHandler",)"
        R"("value":{"v":"object","id":7,"callable":true}})",
        R"({"n":16,"op":"set","element":1,"name":"eventHandler","value":null})"},
       {R"({"answer":14})", R"({"answer":15})", R"({"answer":16})",
        R"({"tell":"release","object":7,"mentions":2})"}},
      {"another element, which keeps its own object when the first ends",
       {R"({"n":17,"op":"make","element":2,"params":[],"width":0,"height":0})",
        R"({"n":18,"op":"set","element":2,"name":"dropObserver",)"
        R"("value":{"v":"object","id":8,"methods":["onDrop"]}})",
        R"({"n":19,"op":"set","element":1,"name":"eventHandler",)"
        R"("value":{"v":"object","id":9,"callable":true}})",
        R"({"n":20,"op":"end","element":1})"},
       {kLeave, R"({"answer":17})", R"({"answer":18})", R"({"answer":19})", R"({"answer":20})",
        R"({"tell":"release","object":9,"mentions":1})"}},
      {"what has ended, and what was there before",
       {R"({"n":21,"op":"call","element":1,"name":"queryVersion","args":[{"v":"object","id":9}]})",
        R"({"n":22,"op":"make","element":2,"params":[],"width":0,"height":0})",
        R"({"n":23,"op":"get","element":2,"name":"dropObserver"})"},
       {R"({"answer":21,"error":"The element has ended."})", kLeave,
        R"({"answer":22,"error":"The element exists already."})",
        R"({"answer":23,"value":{"v":"object","id":8}})",
        R"({"tell":"release","object":9,"mentions":1})"}},
  };
  greet();
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.label);
    for (const std::string& text : row.sent) {
      _host->send(text);
    }
    std::vector<std::string> received;
    for (size_t i = 0; i < row.received.size(); ++i) {
      received.push_back(_host->receive());
    }
    EXPECT_THAT(received, testing::UnorderedElementsAreArray(row.received));
    EXPECT_EQ(received.front(), row.received.front());
  }
  _host->closeInput();
  EXPECT_THAT(_host->wait(), AnyOf(0, 124));
}

// The plugin compares the session's host name with that of the page, and names the latter.
TEST_F(Conversation, takesTheHostNameFromTheBrowsersWord) {
  const struct {
    const char *address, *hostName;
  } kRows[] = {
      {"https://a.example/x.html?b.example#c", "a.example"},
      {"https://A:b@a.example:8443", "a.example"},
      {"http://[::1]:8080/x", "[::1]"},
      {"about:blank", "localhost"},
      {"file:///home/x.html?a.example", "localhost"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.address);
    HostProcess host(path("stderr"));
    host.greet(kOrigin, row.address);
    host.send(makeElement());
    host.send(R"({"n":2,"op":"call","element":1,"name":"initSession","args":["^b.example",""]})");
    EXPECT_EQ(host.receive(), kLeave);
    EXPECT_EQ(host.receive(), R"({"answer":1})");
    EXPECT_THAT(host.receive(),
                HasSubstr(std::string("Invalid application ID hostname: ") + row.hostName));
  }
}

TEST_F(Conversation, bringsCallbacksAndEventsFromTheApplicationItLaunches) {
  makeFirst();
  _host->send(R"({"n":2,"op":"call","element":1,"name":"initSession","args":["a","a.example"]})");
  EXPECT_THAT(_host->receive(), HasSubstr(R"("answer":2)"));
  _host->send(R"({"n":3,"op":"call","element":1,"name":"pellionHttpRequestAsync",)"
              R"("args":["GET","/nowhere","",{"v":"object","id":4,"callable":true}]})");
  EXPECT_EQ(_host->receive(), R"({"answer":3,"value":null})");
  EXPECT_THAT(_host->receive(),
              AllOf(HasSubstr(R"({"tell":"call","element":1,"object":4,"args":[)"),
                    HasSubstr("Unknown path: /nowhere")));
  EXPECT_EQ(_host->receive(), R"({"tell":"release","object":4,"mentions":1})");
  _host->send(R"({"n":4,"op":"set","element":1,"name":"eventHandler",)"
              R"("value":{"v":"object","id":5,"callable":true}})");
  EXPECT_EQ(_host->receive(), R"({"answer":4})");
  EXPECT_THAT(_host->receive(),
              HasSubstr(R"({"tell":"call","element":1,"object":5,"args":["transfer",)"));

  _host->closeInput();
  while (!_host->receive().empty()) {
  }
  EXPECT_THAT(_host->wait(), AnyOf(0, 124));  // its poller may sleep for a second
  const std::string pid = readFile(dataPath("var/run/process.pid"));
  EXPECT_EQ(kill(std::stoi(pid), 0), 0) << "the application ended with the host";
}

// To a browser that takes several messages in one, what nobody waits for goes along with the next
// message.
TEST_F(Conversation, joinsWhatNobodyWaitsFor) {
  const ScriptedServer server(
      [](int connection, const std::string&, size_t) { sendAll(connection, httpResponse("{}")); });
  writeUrlFile(server.port());
  _host->send(
      R"({"hello":1,"origin":"https://a.example","address":"https://a.example/","agent":"",)"
      R"("browser":"","version":"","together":true})");
  _host->send(makeElement());
  std::string told;
  const auto hear = [&](const std::string& text) {
    while (told.find(text) == std::string::npos) {
      told += _host->receive() + "\n";
    }
  };
  std::vector<std::string> all;
  for (int i = 2; i < 20; ++i) {
    const std::string n = std::to_string(i);
    _host->send(R"({"n":)" + n + R"(,"op":"call","later":true,"element":1,)" +
                R"("name":"pellionHttpRequestAsync","args":["GET","/x","",)" +
                R"({"v":"object","id":)" + n + R"(,"callable":true}]})");
    all.insert(all.end(), {R"({"answer":)" + n + R"(,"value":null})",
                           R"({"tell":"call","element":1,"object":)" + n + R"(,"args":["{}"]})",
                           R"({"tell":"release","object":)" + n + R"(,"mentions":1})"});
    hear(all.end()[-2]);
  }
  std::for_each(all.begin(), all.end(), hear);
  EXPECT_THAT(told, HasSubstr(R"({"together":[{)"));
  for (const std::string& each : all) {
    EXPECT_EQ(told.find(each), told.rfind(each)) << each;
  }
}

TEST_F(Conversation, sendsWhatIsLargeInPieces) {
  std::string body = "\"\\\u00e9\u20ac\U0001F600";
  while (body.size() < 3'000'000) {
    body += body;
  }
  const ScriptedServer server([&](int connection, const std::string& request, size_t) {
    sendAll(connection, httpResponse(request.find("/large") == std::string::npos ? "{}" : body));
  });
  writeUrlFile(server.port());
  makeFirst();
  _host->send(R"({"n":2,"op":"call","element":1,"name":"initSession","args":["a","a.example"]})");
  _host->receive();
  _host->send(R"({"n":3,"op":"call","element":1,"name":"pellionHttpRequest",)"
              R"("args":["GET","/large",""]})");
  std::string escaped;
  for (const char c : body) {
    escaped += (c == '"' || c == '\\') ? std::string("\\") + c : std::string(1, c);
  }
  const std::string received = _host->receive();
  EXPECT_TRUE(received == R"({"answer":3,"value":")" + escaped + "\"}") << received.substr(0, 200);
  EXPECT_GE(_host->frames(), 4u);
}

// The extension's own port asks, and is no page.
TEST_F(Conversation, tellsTheStateAndForgetsASite) {
  fs::create_directories(path(".config/orvane-web"));
  writeFile(path(".config/orvane-web/sites"), "deny https://b.example\n");
  const auto hello = [](const char* origin, const char* more) {
    return R"({"hello":1,"address":"","agent":"","browser":"chromium","version":"","origin":")" +
           std::string(origin) + "\"" + more + "}";
  };
  const char kState[] = R"({"n":1,"op":"state"})";
  const char kForget[] = R"({"n":2,"op":"leave","leave":"forget"})";
  const char kCheck[] = R"({"n":1,"op":"state","check":true})";
  const char kNot[] = "This cannot be asked here.";
  const struct {
    const char *origin, *more;
    std::string operation;
    const char* answer;
  } kRows[] = {
      {"https://b.example", "", kForget, kNot},
      {"https://b.example", "", kState, kNot},
      {"https://b.example", "", kCheck, kNot},
      {"https://b.example", R"(,"page":false)", kState, R"("leave":"deny","by":"user","module")"},
      {"https://b.example", R"(,"page":false)", kForget, R"({"answer":2})"},
      {"https://b.example", R"(,"page":false)", kState, R"("leave":"ask","module":{"path":)"},
      {"https://a.example", R"(,"page":false)", kState,
       R"("leave":"allow","by":"administrator","file":")"},
      {"https://a.example", R"(,"page":false)", makeElement(), kNot},
      {"null", R"(,"page":false)", kState, R"("origin":"null","leave":"never")"},
      // Of the browser that asks.
      {"https://a.example", R"(,"page":false)", kCheck, R"({"name":"chromium-manifest",)"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(std::string(row.origin) + row.more + row.operation);
    HostProcess host(path("stderr"));
    host.send(hello(row.origin, row.more));
    host.receive();
    if (row.operation == kForget) {
      host.send(R"({"n":1,"op":"skip"})");
      host.receive();
    }
    host.send(row.operation);
    EXPECT_THAT(host.receive(), HasSubstr(row.answer));
  }
}

TEST_F(Conversation, fetchesThePictureForThePage) {
  const struct {
    const char *origin, *base, *image, *requested;
    std::string body;
    const char* told;
  } kRows[] = {
      {kOrigin, "/album/x.html", "pic.png", "GET /album/pic.png ", kGif, nullptr},
      {"file://", "", "http://127.0.0.1:PORT/pic.png", "GET /pic.png ", "no picture", nullptr},
      {kOrigin, "/", "http://127.0.0.1:PORT/pic", "GET /pic ", kGif,
       R"({"tell":"picture","element":1,"type":"image/png","data":"iVBOR)"},
      {kOrigin, "/album/x.html", "file:///etc/hostname", nullptr, "", nullptr},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.image);
    ScriptedServer server(httpResponse(row.body));
    const std::string port = std::to_string(server.port());
    std::string image = row.image;
    if (image.find("PORT") != std::string::npos) {
      image.replace(image.find("PORT"), 4, port);
    }
    HostProcess host(path("stderr"));
    host.greet(row.origin, std::string(row.base).empty() ? "file:///home/x.html"
                                                         : "http://127.0.0.1:" + port + row.base);
    host.send(makeElement(R"(,["image",")" + image + "\"]"));
    host.receive();
    EXPECT_EQ(host.receive(), R"({"answer":1})");
    if (row.requested != nullptr) {
      ASSERT_TRUE(waitFor([&] { return server.requestCount() > 0; }));
      EXPECT_THAT(server.requests()[0],
                  AllOf(HasSubstr(row.requested), HasSubstr("User-Agent: Browser/1\r\n")));
    }
    if (row.told != nullptr) {
      EXPECT_THAT(host.receive(),
                  AllOf(StartsWith(row.told), EndsWith(R"(,"width":2,"height":1})")));
    }
    EXPECT_EQ(logLines("Unable to load image from URL: " + image).size(),
              row.requested != nullptr ? 0u : 1u);
  }
}

TEST_F(Conversation, endsWithASentenceWhenNothingCanGoOn) {
  const std::string hello =
      R"({"hello":1,"origin":"null","address":"","agent":"","browser":"","version":""})";
  std::string early;
  for (int i = 2; i < 10'003; ++i) {
    early += web_host::frameOf(R"({"op":"skip","n":)" + std::to_string(i) + "}");
  }
  const auto framed = [](std::initializer_list<std::string> texts) {
    std::string bytes;
    for (const std::string& text : texts) {
      bytes += web_host::frameOf(text);
    }
    return bytes;
  };
  const std::string deep(2000, '[');
  const std::string wide(std::string(3'000'000, '0').replace(1, 0, ",") + "]");
  const struct {
    const char* label;
    std::string bytes;
    const char* fatal;
  } kRows[] = {
      {"no JSON", framed({"hello"}), "not valid JSON"},
      {"nothing", framed({""}), "not valid JSON"},
      {"a zero byte", framed({std::string("{}\0", 3)}), "zero byte"},
      {"no UTF-8", framed({"{\"hello\":\"\xff\"}"}), "not valid JSON"},
      {"no object", framed({"[1]"}), "A message must be a JSON object."},
      {"too deep", framed({deep}), "nested deeper than 1000"},
      {"no greeting", framed({R"({"n":1,"op":"skip"})"}), R"(must be the browser's \"hello\")"},
      {"another protocol", framed({R"({"hello":2})"}), "The extension speaks protocol 2"},
      {"a wrong greeting", framed({R"({"hello":1,"origin":5})"}), R"(\"origin\" must be a string)"},
      {"no number", framed({hello, R"({"op":"skip"})"}), R"(\"n\" must be a whole number)"},
      {"half a number", framed({hello, R"({"op":"skip","n":1.5})"}), R"(\"n\" must be)"},
      {"a number twice", framed({hello, R"({"op":"skip","n":1})", R"({"op":"end","n":1})"}),
       "The operation 1 came twice."},
      {"a huge number", framed({hello, R"({"op":"skip","n":1e999})"}), R"(\"n\" must be)"},
      {"too many early ones", framed({hello}) + early, "are waiting for operation 1."},
      {"too large", std::string("\x01\x00\x00\x01", 4), "16777217 bytes is larger than 16777216"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.label);
    HostProcess host(path("stderr"));
    try {
      host.sendBytes(row.bytes);
    } catch (const std::runtime_error&) {  // it had seen enough
    }
    std::string last;
    for (std::string next; !(next = host.receive()).empty();) {
      last = next;
    }
    EXPECT_THAT(last, AllOf(HasSubstr("{\"fatal\":\""), HasSubstr(row.fatal)));
    EXPECT_EQ(host.wait(), 1);
  }
}

TEST_F(Conversation, saysWhyThereIsNoElement) {
  const struct {
    const char *origin, *error;
  } kRows[] = {
      {"https://b.example",
       "Nobody could be asked whether this site may use Orvane Web: there is no display. To allow "
       "it, run: orvane-web-host --allow https://b.example"},
      {"http://a.example", "Nobody could be asked whether this site may use Orvane Web: "},
      {"https://a.example:444", "Nobody could be asked whether this site may use Orvane Web: "},
      {"null", "This site is not allowed to use Orvane Web: "},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.origin);
    HostProcess host(path("stderr"));
    host.greet(row.origin, "https://a.example/");
    host.send(makeElement());
    host.send(R"({"n":2,"op":"get","element":1,"name":"eventHandler"})");
    std::string answer = host.receive();
    EXPECT_THAT(answer, HasSubstr(std::string(R"({"answer":1,"error":")") + row.error));
    EXPECT_EQ(host.receive(), answer.replace(10, 1, "2"));
    host.closeInput();
    EXPECT_EQ(host.wait(), 0);
  }
}

}  // namespace
}  // namespace test_support
