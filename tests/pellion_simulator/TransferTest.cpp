#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <set>

#include "tests/pellion_simulator/Simulator.h"
#include "tests/support/WaitFor.h"

namespace {

namespace fs = std::filesystem;
using test_support::Activity;
using test_support::bodyOf;
using test_support::httpResponse;
using test_support::readFile;
using test_support::ScriptedServer;
using test_support::sendAll;
using test_support::waitFor;
using test_support::writeFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

std::string times(int count, const std::string& text) {
  std::string result;
  for (int i = 0; i < count; ++i) {
    result += text;
  }
  return result;
}

class SimulatorDownload : public test_support::SimulatorTest {};

// Every case downloads from `source` to `destination`; "~" stands for the home directory.
TEST_F(SimulatorDownload, namesTheFile) {
  const ScriptedServer server(httpResponse("text"));
  writeFile(path("a b%20#?\u00fc&<.txt"), "text");
  writeFile(path("taken"), "old");
  writeFile(path("taken.tar.gz"), "old");
  writeFile(path("taken.tar (2).gz"), "old");
  fs::create_directories(path("folder"));
  fs::create_directories(path(".config"));
  writeFile(path(".config/user-dirs.dirs"), "XDG_DOWNLOAD_DIR=\"$HOME/Files from afar\"\n");
  const std::string longName = "file://~/" + times(125, "\u00fc") + "l.txt";
  writeFile(path(longName.substr(9)), "old");
  const auto simulator = start();
  const struct {
    std::string label, source, destination, result;
  } kCases[] = {
      {"query and fragment", "/data/f.pdf?version=2#top", "", "Files from afar/f.pdf"},
      {"desktop's directory", "/f.txt", "", "Files from afar/f.txt"},
      {"existing directory", "/f.txt", "file://~/folder", "folder/f.txt"},
      {"new directory", "/f.txt", "file://~/new/deep/", "new/deep/f.txt"},
      {"save dialog's pick", "/f.txt", "file://~/other.bin", "other.bin"},
      {"plain path", "/f.txt", "~/plain.bin", "plain.bin"},
      {"raw bytes in the pick", "/f.txt", "file://~/50% of #1? \u00fc", "50% of #1? \u00fc"},
      {"encoded source", "/a%20b%2fc%25.txt", "file://~/folder", "folder/a b_c%.txt"},
      {"blanks and UTF-8 in the source", "/d e \u00fc.txt", "file://~/folder",
       "folder/d e \u00fc.txt"},
      {"no name", "/", "file://~/folder", "folder/download"},
      {"dots for a name", "/x/%2e%2E/", "file://~/new/", "new/download"},
      {"taken pick", "/f.txt", "file://~/taken", "taken (2)"},
      {"taken twice", "/f.txt", "file://~/taken.tar.gz", "taken.tar (3).gz"},
      {"taken and too long with a number", "/f.txt", longName, times(123, "\u00fc") + " (2).txt"},
      {"a file of this machine", "file://~/a b%20#?\u00fc&<.txt", "",
       "Files from afar/a b%20#?\u00fc&<.txt"},
  };
  const auto fromHome = [&](std::string text) {
    const size_t tilde = text.find('~');
    return tilde == std::string::npos ? text : text.replace(tilde, 1, home());
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.label);
    const std::string source = c.source[0] == '/' ? urlOf(server, c.source) : fromHome(c.source);
    const Activity activity = waitForEnd(transfer({source}, fromHome(c.destination)));
    EXPECT_EQ(activity.status, "completed") << activity.error;
    EXPECT_EQ(activity.direction, "receive");
    EXPECT_EQ(activity.percentage, 100);
    EXPECT_THAT(activity.paths, ElementsAre(path(c.result)));
    EXPECT_EQ(readFile(path(c.result)), "text");
  }
  EXPECT_THAT(server.requests()[0], HasSubstr("GET /data/f.pdf?version=2 HTTP/1.1\r\n"));
  EXPECT_EQ(readFile(path("taken")), "old");
}

TEST_F(SimulatorDownload, givesEachOfManyAtOnceANameOfItsOwn) {
  std::string bytes;
  for (int i = 0; i < 10'000; ++i) {
    bytes += std::to_string(i);
  }
  const ScriptedServer server(httpResponse(bytes));
  const auto simulator = start();
  std::vector<std::string> ids;
  for (size_t i = 0; i < 20; ++i) {
    ids.push_back(transfer({urlOf(server, "/same.bin")}, ""));
  }
  std::set<std::string> paths;
  for (const std::string& id : ids) {
    paths.insert(waitForEnd(id).paths.at(0));
  }
  EXPECT_EQ(paths.size(), ids.size());
  EXPECT_EQ(filesBelow("Downloads").size(), ids.size());
  for (const std::string& one : paths) {
    EXPECT_EQ(readFile(one), bytes);
  }
}

TEST_F(SimulatorDownload, saysWhyItFailedAndLeavesNothing) {
  const std::map<std::string, std::string> answers = {
      {"/cut", "HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n" + std::string(50'000, 'x')},
      {"/cut-chunk", "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n6\r\nabc"},
      {"/to-file", httpResponse("", "302 Found\r\nLocation: file:///etc/passwd")},
      {"/around", httpResponse("", "302 Found\r\nConnection: close\r\nLocation: /around")},
      {"/large", httpResponse(std::string(300'000, 'x'))},
      {"/missing", httpResponse("<h1>Nothing here</h1>", "404 Not Found")}};
  const ScriptedServer server([&](int connection, const std::string& request, size_t) {
    sendAll(connection, answers.at(request.substr(4, request.find(' ', 4) - 4)));
  });
  writeFile(path("file"), "");
  fs::create_directories(path("place"));
  unsetenv("no_proxy");
  setenv("NO_PROXY", "255.255.255.255", 1);
  setenv("http_proxy", urlOf(server, "").c_str(), 1);
  const auto simulator = start({}, 200'000);
  const std::string place = "file://" + path("place/"), longName(256, 'n');
  const struct {
    std::string source, destination, error;
  } kCases[] = {
      {urlOf(server, "/missing"), place, "missing: the server answered \"404 Not Found\""},
      {urlOf(server, "/cut"), place, "cut: transfer closed with 50000 bytes remaining"},
      {urlOf(server, "/cut-chunk"), place, "cut-chunk: transfer closed"},
      {urlOf(server, "/to-file"), place, "to-file: Protocol \"file\" not supported"},
      {urlOf(server, "/around"), place, "around: Maximum (10) redirects followed"},
      {urlOf(server, "/large"), place, "large: cannot write " + path("place/large") + ": File too"},
      {"http://127.0.0.1:1/f", place, "f: Failed to connect"},
      {"http://127.0.0.2:1/f", place, "f: Failed to connect"},
      {"http://255.255.255.255/f", place, "f: Failed to connect"},
      {urlOf(server, "/missing"), place + longName, "missing: the file's name is too long, 256 b"},
      {"http://a b/f", place, "not a valid address: http://a b/f"},
      {"ovtp://example.org/f", place, "addresses of the kind ovtp:// are not supported"},
      {"report.pdf", place, "neither an absolute path nor an address: report.pdf"},
      {"file://server/share", place, "a file URL needs an absolute path"},
      {"file://" + path("absent"), place, "cannot read " + path("absent") + ": No such file"},
      {"file:///dev/zero", place, "cannot read /dev/zero: not a regular file"},
      {urlOf(server, "/f"), "http://example.org/",
       "a download needs a destination on this machine"},
      {urlOf(server, "/f"), path("file/f"), "f: cannot make the directory " + path("file")},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.source);
    const Activity activity = waitForEnd(transfer({c.source}, c.destination));
    EXPECT_EQ(activity.status, "failed");
    EXPECT_THAT(activity.error, HasSubstr(c.error));
    EXPECT_THAT(filesBelow("place"), ElementsAre());
  }
  EXPECT_EQ(readFile(path("file")), "");
}

// Two requests in one body: one into the download directory, one to an absolute place.
TEST_F(SimulatorDownload, readsTransferSpecs) {
  const ScriptedServer server(httpResponse("text"));
  const auto simulator = start();
  const std::string base = urlOf(server, "/base");
  const std::string response = request(
      "POST", "/v4/transfers/start",
      R"({"orvane_pellion_settings":{"app_id":"all"},"transfer_specs":[)"
      R"({"transfer_spec":{"direction":"receive","destination_root":"sub","remote_url":")" +
          base + R"(","paths":[{"source":"/one two"},{"source":"b","destination":"x/c"},)" +
          R"({"source":"d","destination":"y/"},{"source":"e","destination":"."}]}},)" +
          R"({"orvane_pellion_settings":{"app_id":"own","use_absolute_destination_path":true},)" +
          R"("transfer_spec":{"direction":"receive","destination_root":")" + path("pick.bin") +
          R"(","paths":[{"source":")" + base + R"("}]}}]})");
  EXPECT_THAT(response, HasSubstr("HTTP/1.1 200 OK"));
  EXPECT_TRUE(waitFor([&] {
    const auto transfers = activity().transfers;
    return transfers.size() == 2 && transfers[0].status == "completed" &&
           transfers[1].status == "completed";
  }));
  EXPECT_THAT(filesBelow("Downloads/sub"), ElementsAre("e", "one two", "x/c", "y/d"));
  EXPECT_EQ(readFile(path("pick.bin")), "text");
  EXPECT_THAT(server.requests(), testing::Contains(HasSubstr("GET /base/one%20two HTTP/1.1")));
  // A session sees its own transfers and those without an application id.
  EXPECT_EQ(activity("", "own").transfers.size(), 1u);
  EXPECT_EQ(activity("", "other").transfers.size(), 0u);
  transfer({base}, "");
  EXPECT_EQ(activity("", "other").transfers.size(), 1u);
}

TEST_F(SimulatorDownload, reportsOnlyWhatChanged) {
  const ScriptedServer server(httpResponse("text"));
  const auto simulator = start();
  const std::string beforeAll = activity().token;
  waitForEnd(transfer({urlOf(server, "/one")}, ""));
  const test_support::ActivityAnswer first = activity();
  ASSERT_EQ(first.transfers.size(), 1u);
  EXPECT_EQ(activity(first.token).transfers.size(), 0u);
  EXPECT_EQ(activity(first.token).token, first.token);
  EXPECT_EQ(activity(beforeAll).transfers.size(), 1u);

  const std::string second = transfer({urlOf(server, "/two")}, "");
  waitForEnd(second);
  const auto changed = activity(first.token).transfers;
  ASSERT_EQ(changed.size(), 1u);
  EXPECT_EQ(changed[0].id, second);
  // Tokens of another run, whether its clock was behind or ahead.
  for (const char* token : {"0", "17", "18000000000000000000"}) {
    EXPECT_EQ(activity(token).transfers.size(), 2u) << token;
  }
}

TEST_F(SimulatorDownload, keepsToTheRateLimitAndShowsProgress) {
  const ScriptedServer server(httpResponse(std::string(30'000, 'x')));
  writeFile(dataPath("etc/orvanepellion.conf"), "rate_limit = 10 MB\n");
  const auto simulator = start({"--rate-limit", "20000"});
  EXPECT_THAT(ownLog(), HasSubstr("Preferences: not understood: rate_limit = 10 MB\n"));
  const auto begin = std::chrono::steady_clock::now();
  const std::string id = transfer({urlOf(server, "/slow")}, "");
  Activity seen;
  EXPECT_TRUE(waitFor([&] {
    seen = activity().transfers.at(0);
    return seen.percentage >= 30;
  }));
  EXPECT_EQ(seen.status, "running");
  EXPECT_LT(seen.percentage, 100);
  EXPECT_EQ(seen.expected, 30'000);
  EXPECT_GT(seen.rate, 0);
  EXPECT_LT(seen.rate, 30'000);
  EXPECT_EQ(waitForEnd(id).status, "completed");
  EXPECT_GT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1400));
}

class SimulatorUpload : public test_support::SimulatorTest {
 protected:
  SimulatorUpload() : _bytes(300'000, 'u') {
    fs::create_directories(path("tree/inner \u00fc"));
    writeFile(path("a b%20#?.bin"), _bytes);
    fs::create_symlink("circle", path("tree/circle"));
    writeFile(path("tree/one"), "1");
    writeFile(path("tree/inner \u00fc/two"), "22");
  }

  const std::string _bytes;
};

TEST_F(SimulatorUpload, copiesFilesAndDirectories) {
  const auto simulator = start();
  Activity activity = waitForEnd(
      transfer({"file://" + path("a b%20#?.bin"), path("tree/")}, "file://" + path("server/")));
  EXPECT_EQ(activity.status, "completed") << activity.error;
  EXPECT_EQ(activity.direction, "send");
  EXPECT_EQ(activity.written, 300'003);
  EXPECT_EQ(activity.expected, 300'003);
  EXPECT_THAT(filesBelow("server"),
              ElementsAre("a b%20#?.bin", "tree/inner \u00fc/two", "tree/one"));
  EXPECT_THAT(ownLog(), HasSubstr(": " + path("tree/circle") + "\n"));
  EXPECT_EQ(readFile(path("server/a b%20#?.bin")), _bytes);
  EXPECT_EQ(readFile(path("server/tree/inner \u00fc/two")), "22");

  activity = waitForEnd(transfer({"file://" + path("tree/one")}, "file://" + path("renamed")));
  EXPECT_EQ(activity.status, "completed") << activity.error;
  EXPECT_EQ(readFile(path("renamed")), "1");
}

TEST_F(SimulatorUpload, putsToHttp) {
  const ScriptedServer server(httpResponse("", "201 Created"));
  const std::string url = urlOf(server, "");
  const auto simulator = start();
  const std::string file = "file://" + path("a b%20#?.bin");
  EXPECT_EQ(waitForEnd(transfer({file}, url + "/put here?key=1")).status, "completed");
  EXPECT_EQ(waitForEnd(transfer({file}, url + "/dir/?key=1")).status, "completed");
  EXPECT_EQ(waitForEnd(transfer({"file://" + path("tree")}, url + "/dir/")).status, "completed");
  const std::vector<std::string> requests = server.requests();
  ASSERT_EQ(requests.size(), 4u);
  EXPECT_THAT(requests[0], StartsWith("PUT /put%20here?key=1 HTTP/1.1\r\n"));
  EXPECT_EQ(bodyOf(requests[0]), _bytes);
  EXPECT_THAT(requests[1], StartsWith("PUT /dir/a%20b%2520%23%3F.bin?key=1 HTTP/1.1\r\n"));
  EXPECT_THAT(requests[2], StartsWith("PUT /dir/tree/inner%20%C3%BC/two HTTP/1.1\r\n"));
  EXPECT_THAT(requests[3], StartsWith("PUT /dir/tree/one HTTP/1.1\r\n"));
}

TEST_F(SimulatorUpload, saysWhyItFailed) {
  const ScriptedServer refusing(httpResponse("no", "403 Forbidden"));
  const ScriptedServer elsewhere(httpResponse("", "307 Temporary Redirect\r\nLocation: /x"));
  const auto simulator = start();
  fs::create_directories(path("hollow"));
  const struct {
    std::vector<std::string> sources;
    std::string destination;
    const char* error;
  } kCases[] = {
      {{path("tree/one")}, urlOf(refusing, "/"), "one: the server answered \"403 Forbidden\""},
      {{path("tree/one")},
       urlOf(elsewhere, "/"),
       "one: the server answered \"307 Temporary Redirect\""},
      {{path("tree/one"), path("gone")}, path("to/"), "gone: No such file or directory"},
      {{path("hollow")}, path("to/"), "there is no file in "},
      {{path("tree/one")}, "ftp://127.0.0.1/", "uploads go to http, https and file destinations"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.error);
    const Activity activity = waitForEnd(transfer(c.sources, c.destination));
    EXPECT_EQ(activity.status, "failed");
    EXPECT_THAT(activity.error, HasSubstr(c.error));
  }
  // A request that cannot work as a whole moves nothing.
  EXPECT_FALSE(fs::exists(path("to")));
}

TEST_F(SimulatorUpload, readsTransferSpecs) {
  const ScriptedServer server(httpResponse(""));
  const auto simulator = start();
  request("POST", "/v4/transfers/start",
          R"({"transfer_specs":[{"transfer_spec":{"direction":"send","remote_url":")" +
              urlOf(server, "/root") + R"(","destination_root":"/in box/","paths":[)" +
              R"({"source":")" + path("tree/one") + R"(","destination":"uno"}]}}]})");
  EXPECT_EQ(waitForEnd().status, "completed");
  EXPECT_THAT(server.requests(), ElementsAre(StartsWith("PUT /root/in%20box/uno HTTP/1.1\r\n")));
}

}  // namespace
