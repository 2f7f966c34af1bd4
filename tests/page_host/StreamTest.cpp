#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "tests/page_host/PageRunner.h"
#include "tests/support/ScriptedServer.h"

namespace test_support {
namespace {

using testing::HasSubstr;

class PluginStream : public PageRunner {
 protected:
  // Fetches with a second instance that has these parameters. Prints the calls up to NPP_URLNotify,
  // and the bytes.
  PageResult fetch(const std::string& params, const std::string& address) {
    return runPage("const p = createPlugin(" + params + "); plugin.history(); p.fetch('" + address +
                   R"(', true);
                   let calls = '';
                   setInterval(() => {
                     calls += plugin.history() + ' ';
                     if (calls.includes('URLNotify:')) {
                       console.log(calls.trim().replace(/ +/g, ' '));
                       console.log(plugin.bytesReceived());
                       quit(0);
                     }
                   }, 5);)");
  }
};

TEST_F(PluginStream, bringsFilesDataAndHttp) {
  const ScriptedServer server([](int connection, const std::string& request, size_t) {
    const bool moved = request.compare(0, 11, "GET /moved ") == 0;
    sendAll(connection,
            moved ? httpResponse("gone", "302 Found\r\nLocation: /picture")
                  : httpResponse("from the network", "200 OK\r\nContent-Type: image/png; q=1"));
  });
  writeFile(path("with blank.txt"), "from a file");
  ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
  const std::string http = "http://127.0.0.1:" + std::to_string(server.port());
  const std::string file = "NewStream:text/plain:11:file Write:0+11 DestroyStream=0";
  const std::string net = "NewStream:image/png:16:headers:http Write:0+16 DestroyStream=0";
  const struct {
    std::string address, calls, bytes;
  } kRows[] = {
      {"data:image/gif;base64,YWJj", "NewStream:image/gif:3:data Write:0+3 DestroyStream=0", "abc"},
      {"data:,a%20b", "NewStream:text/plain:3:data Write:0+3 DestroyStream=0", "a b"},
      {"data:,", "NewStream:text/plain:0:data DestroyStream=0", ""},
      {"data:broken", "", ""},
      {"file://" + path("with%20blank.txt"), file, "from a file"},
      {"with%20blank.txt", file, "from a file"},
      {"../" + home().substr(home().rfind('/') + 1) + "/with blank.txt", file, "from a file"},
      {"FILE://" + path("with%20blank.txt") + "?x", file, "from a file"},
      {"DATA:,x", "NewStream:text/plain:1:data Write:0+1 DestroyStream=0", "x"},
      {"file:///nowhere/at/all", "", ""},
      {"file://other.host" + path("with%20blank.txt"), "", ""},
      {"pipe", "", ""},
      {"file:///dev/zero", "", ""},
      {http + "/picture", net, "from the network"},
      {http + "/moved", net, "from the network"},
      {"http://127.0.0.1:1/refused", "", ""},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.address);
    EXPECT_EQ(fetch("{}", row.address).out,
              "GetURL=0 " + row.calls + (row.calls.empty() ? "" : " ") + "URLNotify:" +
                  row.address + (row.calls.empty() ? "=1\n" : "=0\n") + row.bytes + "\n");
  }
  EXPECT_EQ(runPage("console.log(plugin.fetch('javascript:1')); quit(0);").out, "10\n");
  const std::string own = "console.log(plugin.fetch('File://" + path("page.js") + "'), ";
  EXPECT_EQ(runPage(own + "plugin.fetch('page.js'), plugin.fetch('data:,x')); quit(0);",
                    {"--hostname", "127.0.0.1"})
                .out,
            "10 0 0\n");
}

TEST_F(PluginStream, keepsTheRulesOfRefusals) {
  const ScriptedServer missing(httpResponse("not here", "404 Not Found"));
  const std::string gone = "http://127.0.0.1:" + std::to_string(missing.port()) + "/";
  const struct {
    std::string params, address, calls;
  } kRows[] = {
      {"{stream: 'refuse'}", "data:,abc", "NewStream:text/plain:3:data"},
      {"{stream: 'fail'}", "data:,abc", "NewStream:text/plain:3:data Write:0+3 DestroyStream=1"},
      {"{}", gone, "NewStream:application/octet-stream:8:headers:http DestroyStream=1"},
      {"{stream: 'small'}", "data:,abcdefgh",
       "NewStream:text/plain:8:data Write:0+4 Write:3+4 Write:6+2 DestroyStream=0"},
      {"{stream: 'later'}", "data:,abc",
       "NewStream:text/plain:3:data WriteReady=0 WriteReady=0 Write:0+3 DestroyStream=0"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.calls);
    EXPECT_THAT(fetch(row.params, row.address).out,
                testing::StartsWith("GetURL=0 " + row.calls + " URLNotify:"));
  }
}

TEST_F(PluginStream, cutsABigResourceIntoPieces) {
  std::string body;
  for (int i = 0; i < 300000; ++i) {
    body += std::to_string(i) + ",";
  }
  writeFile(path("big"), body);
  const std::string out = fetch("{}", "big").out;
  EXPECT_THAT(out, HasSubstr(" Write:0+8128 Write:8128+8128 "));
  EXPECT_TRUE(out.substr(out.find('\n') + 1) == body + "\n");
}

TEST_F(PluginStream, goesAroundModulesThatTakeNone) {
  setenv("PROBE_WITHOUT_WRITE", "1", 1);
  EXPECT_EQ(fetch("{}", "data:,x").out, "GetURL=0 URLNotify:data:,x=1\n\n");
}

// Between two turns of a timer, the module gets what one millisecond allows at most.
TEST_F(PluginStream, leavesThePageItsTurns) {
  writeFile(path("big"), "");
  ASSERT_EQ(truncate(path("big").c_str(), 400 << 20), 0);
  const PageResult result = runPage(R"(
    plugin.fetch('big');
    let most = 0;
    let turns = 0;
    setInterval(() => {
      most = Math.max(most, plugin.history().split('Write:').length);
      plugin.bytesReceived();
      if (++turns === 20) { console.log(most > 1, most < 640 ? 'few' : most); quit(0); }
    }, 1);)");
  EXPECT_EQ(result.out, "true few\n");
}

TEST_F(PluginStream, endsWithItsInstance) {
  const ScriptedServer slow([](int connection, const std::string&, size_t) {
    sendAll(connection, "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nbeginning");
    char byte;
    while (recv(connection, &byte, 1, 0) > 0) {
    }
  });
  const std::string address = "http://127.0.0.1:" + std::to_string(slow.port()) + "/";
  // What the page does with a second instance `p`, which calls `end` in the named function.
  const struct {
    const char* calls;
    std::string script;
    const char* expected;
  } kRows[] = {
      {"nothing",
       "p.fetch('" + address +
           "'); setInterval(() => {"
           "  if (plugin.history().includes('Write')) { end(); say(); } }, 5);",
       "DestroyStream=2 SetWindow:0:0x0 Destroy\n"},
      {"nothing", "p.fetch('data:,x'); end(); plugin.history(); setTimeout(say, 50);", "\n"},
      {"call-in-newstream", "p.fetch('data:,x'); plugin.history(); setTimeout(say, 50);",
       "NewStream:text/plain:1:data SetWindow:0:0x0 Destroy\n"},
      {"call-in-destroystream", "p.fetch('data:,x', true); plugin.history(); setTimeout(say, 50);",
       "NewStream:text/plain:1:data Write:0+1 DestroyStream=0 SetWindow:0:0x0 Destroy\n"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.script);
    const PageResult result =
        runPage(std::string("const p = createPlugin({'") + row.calls +
                "': 'end'}); window.end = () => destroyPlugin(p);"
                "const say = () => { console.log(plugin.history()); quit(0); };" +
                row.script);
    EXPECT_EQ(result.out, row.expected);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.code, 0);
  }
}

}  // namespace
}  // namespace test_support
