#include <gmock/gmock.h>
#include <sys/socket.h>

#include <string>

#include "tests/page_host/PageRunner.h"
#include "tests/support/ScriptedServer.h"

namespace test_support {
namespace {

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

std::string respond(const std::string& type, const std::string& body) {
  return "HTTP/1.1 200 OK\r\nContent-Type: " + type +
         "\r\nContent-Length: " + std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" +
         body;
}

TEST_F(PluginStream, bringsFilesDataAndHttp) {
  const ScriptedServer server([](int connection, const std::string& request, size_t) {
    const bool moved = request.compare(0, 11, "GET /moved ") == 0;
    sendAll(connection, moved ? "HTTP/1.1 302 Found\r\nLocation: /picture\r\nContent-Length: 4\r\n"
                                "Connection: close\r\n\r\ngone"
                              : respond("image/png; q=1", "from the network"));
  });
  writeFile(path("with blank.txt"), "from a file");
  const std::string http = "http://127.0.0.1:" + std::to_string(server.port());
  const std::string file = "NewStream:text/plain:11:file Write:0+11 DestroyStream=0";
  const std::string net = "NewStream:image/png:16:headers:http Write:0+16 DestroyStream=0";
  const struct {
    std::string address;
    std::string calls;
    std::string bytes;
  } kRows[] = {
      {"data:image/gif;base64,YWJj", "NewStream:image/gif:3:data Write:0+3 DestroyStream=0", "abc"},
      {"data:,a%20b", "NewStream:text/plain:3:data Write:0+3 DestroyStream=0", "a b"},
      {"data:,", "NewStream:text/plain:0:data DestroyStream=0", ""},
      {"data:broken", "", ""},
      {"file://" + path("with%20blank.txt"), file, "from a file"},
      {"with%20blank.txt", file, "from a file"},
      {"../" + home().substr(home().rfind('/') + 1) + "/with blank.txt", file, "from a file"},
      {"file:///nowhere/at/all", "", ""},
      {http + "/picture", net, "from the network"},
      {http + "/moved", net, "from the network"},
      {"http://127.0.0.1:1/refused", "", ""},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.address);
    const std::string calls = row.calls.empty() ? "" : row.calls + " ";
    EXPECT_EQ(fetch("{}", row.address).out, "GetURL=0 " + calls + "URLNotify:" + row.address +
                                                (calls.empty() ? "=1" : "=0") + "\n" + row.bytes +
                                                "\n");
  }
  EXPECT_EQ(runPage("console.log(plugin.fetch('javascript:1')); quit(0);").out, "10\n");
}

TEST_F(PluginStream, keepsTheRulesOfRefusals) {
  const ScriptedServer missing(httpResponse("not here", "404 Not Found"));
  const std::string gone = "http://127.0.0.1:" + std::to_string(missing.port()) + "/";
  const struct {
    const char* params;
    std::string address;
    const char* calls;
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
                testing::StartsWith(std::string("GetURL=0 ") + row.calls + " URLNotify:"));
  }
}

TEST_F(PluginStream, cutsABigResourceIntoPieces) {
  std::string body;
  for (int i = 0; i < 300000; ++i) {
    body += std::to_string(i) + ",";
  }
  writeFile(path("big"), body);
  const PageResult result = runPage(R"(
    plugin.fetch('big');
    let calls = [];
    setInterval(() => {
      calls = calls.concat(plugin.history().split(' '));
      if (calls.includes('DestroyStream=0')) {
        console.log(calls.includes('Write:0+8128') && calls.includes('Write:8128+8128'));
        console.log(plugin.bytesReceived() === page.readFile(page.args.big));
        quit(0);
      }
    }, 5);)",
                                    {"--arg", "big=" + path("big")});
  EXPECT_EQ(result.out, "true\ntrue\n");
}

TEST_F(PluginStream, endsWithItsInstance) {
  const ScriptedServer slow([](int connection, const std::string&, size_t) {
    sendAll(connection, "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nbeginning");
    char byte;
    while (recv(connection, &byte, 1, 0) > 0) {
    }
  });
  const std::string address = "http://127.0.0.1:" + std::to_string(slow.port()) + "/";
  const struct {
    const char* label;
    std::string script;
    const char* expected;
  } kRows[] = {
      {"destroyed while bytes are missing",
       "const p = createPlugin({}); p.fetch('" + address +
           "');"
           "setInterval(() => { if (plugin.history().includes('Write')) {"
           "  destroyPlugin(p); say(); } }, 5);",
       "DestroyStream=2 SetWindow:0:0x0 Destroy\n"},
      {"destroyed before anything came",
       "const p = createPlugin({}); p.fetch('data:,x'); destroyPlugin(p); plugin.history();"
       "setTimeout(say, 50);",
       "\n"},
      {"destroyed in NPP_NewStream",
       "const p = createPlugin({'call-in-newstream': 'end'}); window.end = () => destroyPlugin(p);"
       "p.fetch('data:,x'); plugin.history(); setTimeout(say, 50);",
       "NewStream:text/plain:1:data SetWindow:0:0x0 Destroy\n"},
      {"destroyed in NPP_DestroyStream",
       "const p = createPlugin({'call-in-destroystream': 'end'});"
       "window.end = () => destroyPlugin(p);"
       "p.fetch('data:,x', true); plugin.history(); setTimeout(say, 50);",
       "NewStream:text/plain:1:data Write:0+1 DestroyStream=0 SetWindow:0:0x0 Destroy\n"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.label);
    const PageResult result =
        runPage("const say = () => { console.log(plugin.history()); quit(0); };" + row.script);
    EXPECT_EQ(result.out, row.expected);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.code, 0);
  }
}

}  // namespace
}  // namespace test_support
