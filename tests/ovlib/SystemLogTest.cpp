#include <gmock/gmock.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <optional>
#include <string>

#include "ovlib/ovlog.h"
#include "tests/support/Sandbox.h"

namespace {

using test_support::writeFile;

// An own network and an own, empty /dev, so that neither the machine's system log nor its port 514
// is touched.
bool enterOwnWorld() {
  const std::string user = std::to_string(getuid());
  const std::string group = std::to_string(getgid());
  if (unshare(CLONE_NEWUSER | CLONE_NEWNS | CLONE_NEWNET) != 0) {
    return false;
  }
  try {
    writeFile("/proc/self/setgroups", "deny");
    writeFile("/proc/self/uid_map", "0 " + user + " 1");
    writeFile("/proc/self/gid_map", "0 " + group + " 1");
  } catch (const std::exception&) {
    return false;
  }
  return mount("none", "/dev", "tmpfs", 0, nullptr) == 0;
}

// Runs `body` in a child with a world of its own and answers its text; nothing where the system
// does not allow that.
std::optional<std::string> inOwnWorld(const std::function<std::string()>& body) {
  int pipes[2];
  if (pipe(pipes) != 0) {
    return std::nullopt;
  }
  const pid_t child = fork();
  if (child == 0) {
    if (!enterOwnWorld()) {
      _exit(1);
    }
    const std::string text = body();
    _exit(write(pipes[1], text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : 2);
  }
  close(pipes[1]);
  std::string text;
  char buffer[4096];
  for (ssize_t got; (got = read(pipes[0], buffer, sizeof(buffer))) > 0;) {
    text.append(buffer, static_cast<size_t>(got));
  }
  close(pipes[0]);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) < 2) << status;
  return WEXITSTATUS(status) == 0 ? std::optional<std::string>(text) : std::nullopt;
}

void raiseLoopback() {
  const int control = socket(AF_INET, SOCK_DGRAM, 0);
  ifreq request = {};
  snprintf(request.ifr_name, sizeof(request.ifr_name), "lo");
  request.ifr_flags = IFF_UP;
  ioctl(control, SIOCSIFFLAGS, &request);
  close(control);
}

int listenAt(int family, const void* address, socklen_t size) {
  const int listener = socket(family, SOCK_DGRAM, 0);
  const timeval patience = {10, 0};
  setsockopt(listener, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
  return bind(listener, static_cast<const sockaddr*>(address), size) == 0 ? listener : -1;
}

std::string received(int listener) {
  char buffer[8192];
  const ssize_t got = recv(listener, buffer, sizeof(buffer), 0);
  return got < 0 ? "nothing received" : std::string(buffer, static_cast<size_t>(got));
}

#define SKIP_WITHOUT(world)                                               \
  if (!(world)) {                                                         \
    GTEST_SKIP() << "this system does not allow namespaces of one's own"; \
  }

TEST(SystemLog, sendsDatagramsWithoutALocalSocket) {
  const auto text = inOwnWorld([] {
    raiseLoopback();
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(514);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int listener = listenAt(AF_INET, &address, sizeof(address));
    const int log_socket = dup(listener);  // The number that the log's socket gets.
    close(log_socket);
    std::string all = std::to_string(ov_log_init(OV_LOG_SYSLOG, nullptr));
    ov_dbg_set(1);
    ov_err("e %d", 1);
    ov_log("l");
    ov_dbg("d");
    for (int message = 0; message < 3; ++message) {
      all += "|" + received(listener);
    }
    ov_log("%s", std::string(5000, 'x').c_str());
    all += "|" + std::to_string(received(listener).size());
    // A failed datagram is lost and told; the next line opens the socket again.
    testing::internal::CaptureStderr();
    close(log_socket);
    ov_log("lost");
    ov_log("again");
    all += "|" + testing::internal::GetCapturedStderr() + "|" + received(listener);
    ov_log_cleanup();
    ov_log("after the end");
    return all;
  });
  SKIP_WITHOUT(text);
  EXPECT_EQ(*text,
            "0|<147>ERR e 1|<150>LOG l|<151>DBG d|4096"
            "|Error writing to syslog UDP port, errno=9\n|<150>LOG again");
}

TEST(SystemLog, usesTheLocalSocket) {
  const auto text = inOwnWorld([] {
    sockaddr_un address = {AF_UNIX, "/dev/log"};
    const int listener = listenAt(AF_UNIX, &address, sizeof(address));
    ov_syslog_init("pellion");
    ov_err("100%% %s", "%s");
    std::string all = received(listener);
    ov_log_cleanup();
    ov_log_init(OV_LOG_SYSLOG, nullptr);
    ov_log("%s", std::string(5000, 'x').c_str());
    const std::string line = received(listener);
    return all + "|" + std::to_string(line.size() - line.find("LOG "));
  });
  SKIP_WITHOUT(text);
  EXPECT_THAT(*text, testing::MatchesRegex("<147>.* pellion\\[[0-9]+\\]: ERR 100% %s\\|4095"));
}

}  // namespace
