#include <gmock/gmock.h>

#include <filesystem>

#include "tests/examples/ApplicationPage.h"

namespace fs = std::filesystem;
using test_support::readFile;
using testing::HasSubstr;

class Examples : public test_support::ApplicationPage {
 protected:
  test_support::PageResult runExample(const std::string& name, std::vector<std::string> options) {
    options.insert(options.begin(), {"--module", MODULE, "--fail-fast", "--timeout", "90"});
    options.push_back(std::string(EXAMPLES) + "/" + name);
    return runProgram(options);
  }
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
  EXPECT_THAT(result.out, HasSubstr("-- ending Orvane Pellion"));
  EXPECT_THAT(result.out, HasSubstr("-- it runs again: http://127.0.0.1:"));
  EXPECT_EQ(logLines("Launching Orvane Pellion - Command: ").size(), 2u);
  for (const char* name : {"small.bin", "middle.bin", "large.bin"}) {
    EXPECT_EQ(readFile(path("web/") + name), readFile(path("Downloads/") + name)) << name;
    EXPECT_THAT(result.out, HasSubstr(path("Downloads/") + name));
  }
  // The largest one was started twice.
  EXPECT_THAT(result.out, HasSubstr("         2  " + path("Downloads/large.bin")));
}

// A second run finds an application that knows the transfers of the first.
TEST_F(Examples, transfersAreToldFromEarlierOnesAndMayBeLocal) {
  const std::string address = serveFile("remote.bin", 200000);
  const std::string local = "file://" + path("web/remote.bin");
  for (const std::string& source : {address, local}) {
    const auto result =
        runExample("transfers.js", {"--arg", "sources=" + source, "--arg", "interrupt=no"});
    EXPECT_EQ(result.code, 0) << result.out << result.err;
    EXPECT_THAT(result.out,
                HasSubstr(path("Downloads/remote") + (source == local ? " (2).bin" : ".bin")));
  }
  EXPECT_THAT(runExample("transfers.js", {}).err, HasSubstr("--arg sources=ADDRESS"));
}

TEST_F(Examples, firstStepsFailLoudlyWhenTheBytesDiffer) {
  test_support::writeFile(path("notes.txt"), "notes");
  fs::create_directory(path("received"));
  std::vector<std::string> options = {"--arg", "source=" + serveFile("picture.bin", 100000),
                                      "--arg", "downloads=" + path("Downloads"),
                                      "--arg", "upload=" + path("notes.txt"),
                                      "--arg", "target=" + path("received/"),
                                      "--arg", "original=" + path("web/picture.bin")};
  const auto result = runExample("first-steps.js", options);
  EXPECT_EQ(result.code, 0) << result.out << result.err;
  EXPECT_THAT(result.out, HasSubstr("Proved: "));

  options.back() = "original=" + path("notes.txt");
  const auto failed = runExample("first-steps.js", options);
  EXPECT_NE(failed.code, 0);
  EXPECT_THAT(failed.err, HasSubstr("the downloaded bytes differ"));
}
