#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>

#include "tests/faults/FaultPage.h"

namespace fs = std::filesystem;

namespace {

using test_support::ScriptedServer;
using test_support::writeFile;

// What may lie where a file is expected.
struct Kind {
  const char* label;
  std::function<void(const std::string& path)> make;
  const char* urlLog;  // what the log says of it where the URL file is expected

  friend std::ostream& operator<<(std::ostream& out, const Kind& kind) { return out << kind.label; }
};

std::function<void(const std::string&)> content(const std::string& text) {
  return [text](const std::string& path) { writeFile(path, text); };
}

std::function<void(const std::string&)> linkTo(const std::string& target) {
  return [target](const std::string& path) {
    fs::create_symlink(target.empty() ? path : target, path);
  };
}

void makeSocket(const std::string& path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof(address.sun_path) - 1);
  const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
  EXPECT_EQ(0, bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof(address)));
  EXPECT_EQ(0, ::close(listener));
}

void makeSparse(const std::string& path) {
  writeFile(path, "http://127.0.0.1:1/");
  fs::resize_file(path, uint64_t{1} << 40);
}

const char kUnread[] = "DBG Failed to read Orvane Pellion URL from ";
const char kInvalid[] = "ERR Invalid URL: ";

const Kind kKinds[] = {
    {"missing", [](const std::string&) {}, kUnread},
    {"a directory", [](const std::string& path) { fs::create_directory(path); }, kUnread},
    {"a FIFO", [](const std::string& path) { mkfifo(path.c_str(), 0600); }, kUnread},
    {"a socket", makeSocket, kUnread},
    {"an endless device", linkTo("/dev/zero"), kUnread},
    {"a link to itself", linkTo(""), kUnread},
    {"a sparse terabyte", makeSparse, kUnread},
    {"text behind a NUL", content(std::string("\0http://127.0.0.1:1/", 20)), kUnread},
    {"no address", content("no address"), kInvalid},
};

const char kError[] = "the error document";
// From a queued request when no address is known.
const char kNoRequest[] =
    "\"{\"error\":{\"code\":-1,\"user_message\":\"Error creating HTTP request\"}}\"";

class FileFaults : public FaultPage, public testing::WithParamInterface<Kind> {
 protected:
  std::string pathFile() const { return dataPath("etc/orvanepellion.path"); }
};

TEST_P(FileFaults, inPlaceOfTheUrlFile) {
  open();
  GetParam().make(urlFile());
  EXPECT_EQ(kError, ask(Way::kWaiting));
  const std::string queued = ask(Way::kQueued);
  EXPECT_EQ(kNoRequest, queued);
  expectLogged({GetParam().urlLog});
  close(std::string("the URL file is ") + GetParam().label, kError + (", queued: " + queued));
}

TEST_P(FileFaults, inPlaceOfThePathFile) {
  open("20000");
  writeUrlFile(ScriptedServer("").port());
  GetParam().make(pathFile());
  const std::string page = askBothWays();
  EXPECT_EQ(kError, page);
  expectLogged({"ERR Failed to determine Orvane Pellion executable path"});
  fs::remove_all(pathFile());
  installApplication("#!/bin/sh\n");
  ask(Way::kWaiting);
  expectLogged({"LOG Launching Orvane Pellion - Command: "});
  close(std::string("the path file is ") + GetParam().label, page);
}

INSTANTIATE_TEST_SUITE_P(, FileFaults, testing::ValuesIn(kKinds),
                         [](const auto& suite) { return nameOfRow(suite.param.label); });

}  // namespace
