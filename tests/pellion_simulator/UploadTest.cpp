#include <gmock/gmock.h>

#include <filesystem>

#include "tests/pellion_simulator/Simulator.h"

namespace {

namespace fs = std::filesystem;
using test_support::Activity;
using test_support::bodyOf;
using test_support::httpResponse;
using test_support::readFile;
using test_support::ScriptedServer;
using test_support::writeFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

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
