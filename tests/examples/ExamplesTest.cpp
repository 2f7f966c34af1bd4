#include <httplib.h>
#include <signal.h>

#include <filesystem>
#include <thread>

#include "tests/page_host/PageRunner.h"
#include "tests/support/WaitFor.h"

namespace fs = std::filesystem;

namespace {

// Serves a directory's files on the loopback interface.
class FileServer {
 public:
  explicit FileServer(const std::string& directory) {
    fs::create_directory(directory);
    _server.set_mount_point("/", directory);
    _port = _server.bind_to_any_port("127.0.0.1");
    _thread = std::thread([this] { _server.listen_after_bind(); });
  }
  ~FileServer() {
    _server.stop();
    _thread.join();
  }
  FileServer(const FileServer&) = delete;
  FileServer& operator=(const FileServer&) = delete;

  std::string address(const std::string& name) const {
    return "http://127.0.0.1:" + std::to_string(_port) + "/" + name;
  }

 private:
  httplib::Server _server;
  int _port;
  std::thread _thread;
};

}  // namespace

// The example pages with the real module, which launches the real application.
class Examples : public test_support::PageRunner {
 protected:
  Examples() : _server(path("web")) { writePathFile(APPLICATIONS); }

  ~Examples() override {
    const std::string pid = test_support::readFile(dataPath("var/run/process.pid"));
    if (!pid.empty()) {
      kill(static_cast<pid_t>(std::stol(pid)), SIGTERM);
      EXPECT_TRUE(
          test_support::waitFor([&] { return !fs::exists(dataPath("var/run/process.pid")); }));
    }
  }

  std::string serveFile(const std::string& name, size_t size) {
    std::string content(size, '\0');
    for (size_t i = 0; i < size; ++i) {
      content[i] = static_cast<char>(i * 2654435761u >> 13);
    }
    test_support::writeFile(path("web/" + name), content);
    return _server.address(name);
  }

  test_support::PageResult runExample(const std::string& name, std::vector<std::string> options) {
    options.insert(options.begin(), {"--module", MODULE, "--fail-fast", "--timeout", "90"});
    options.push_back(std::string(EXAMPLES) + "/" + name);
    return runProgram(options);
  }

 private:
  FileServer _server;
};

TEST_F(Examples, transfersGoOnWhenTheApplicationEndsInTheMiddle) {
  test_support::writeFile(dataPath("etc/orvanepellion.conf"), "rate_limit = 2000000\n");
  std::string sources;
  for (const auto& [name, size] :
       {std::pair("small.bin", 50000), {"middle.bin", 2500000}, {"large.bin", 5000000}}) {
    sources += (sources.empty() ? "" : ",") + serveFile(name, static_cast<size_t>(size));
  }
  const auto result = runExample("transfers.js", {"--arg", "sources=" + sources});
  EXPECT_EQ(result.code, 0) << result.out << result.err;
  EXPECT_NE(result.out.find("-- ending Orvane Pellion"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("-- it runs again: http://127.0.0.1:"), std::string::npos);
  EXPECT_EQ(logLines("Launching Orvane Pellion - Command: ").size(), 2u);
  for (const char* name : {"small.bin", "middle.bin", "large.bin"}) {
    EXPECT_EQ(test_support::readFile(path("web/") + name),
              test_support::readFile(path("Downloads/") + name))
        << name;
    EXPECT_NE(result.out.find(path("Downloads/") + name), std::string::npos) << result.out;
  }
  EXPECT_NE(result.out.find("         2  " + path("Downloads/large.bin")), std::string::npos)
      << "the largest one was started twice\n"
      << result.out;
}

// A second run finds an application that knows the transfers of the first.
TEST_F(Examples, transfersAreToldFromEarlierOnesAndMayBeLocal) {
  const std::string address = serveFile("remote.bin", 200000);
  const std::string local = "file://" + path("web/remote.bin");
  for (const std::string& source : {address, local}) {
    const auto result =
        runExample("transfers.js", {"--arg", "sources=" + source, "--arg", "interrupt=no"});
    EXPECT_EQ(result.code, 0) << result.out << result.err;
    EXPECT_NE(result.out.find(path("Downloads/remote") + (source == local ? " (2).bin" : ".bin")),
              std::string::npos)
        << result.out;
  }
  EXPECT_NE(runExample("transfers.js", {}).err.find("--arg sources=ADDRESS"), std::string::npos);
}

TEST_F(Examples, firstStepsFailLoudlyWhenTheBytesDiffer) {
  test_support::writeFile(path("notes.txt"), "notes");
  fs::create_directory(path("received"));
  const std::vector<std::string> options = {"--arg", "source=" + serveFile("picture.bin", 100000),
                                            "--arg", "downloads=" + path("Downloads"),
                                            "--arg", "upload=" + path("notes.txt"),
                                            "--arg", "target=" + path("received/"),
                                            "--arg"};
  auto good = options;
  good.push_back("original=" + path("web/picture.bin"));
  const auto result = runExample("first-steps.js", good);
  EXPECT_EQ(result.code, 0) << result.out << result.err;
  EXPECT_NE(result.out.find("Proved: "), std::string::npos);

  auto bad = options;
  bad.push_back("original=" + path("notes.txt"));
  const auto failed = runExample("first-steps.js", bad);
  EXPECT_NE(failed.code, 0);
  EXPECT_NE(failed.err.find("the downloaded bytes differ"), std::string::npos) << failed.err;
}
