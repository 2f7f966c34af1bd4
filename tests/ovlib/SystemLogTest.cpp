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

#include <string>

#include "ovlib/ovlog.h"
#include "tests/support/Sandbox.h"

namespace {

using test_support::readFile;
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

void raiseLoopback() {
  const int control = socket(AF_INET, SOCK_DGRAM, 0);
  ifreq request = {};
  snprintf(request.ifr_name, sizeof(request.ifr_name), "lo");
  request.ifr_flags = IFF_UP;
  ioctl(control, SIOCSIFFLAGS, &request);
  close(control);
}

template <class Address>
int listenAt(const Address& address) {
  const auto* general = reinterpret_cast<const sockaddr*>(&address);
  const int listener = socket(general->sa_family, SOCK_DGRAM, 0);
  const timeval patience = {10, 0};
  setsockopt(listener, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
  return bind(listener, general, sizeof(address)) == 0 ? listener : -1;
}

std::string received(int listener) {
  char buffer[8192];
  const ssize_t got = recv(listener, buffer, sizeof(buffer), 0);
  return got < 0 ? "nothing received" : std::string(buffer, static_cast<size_t>(got));
}

std::string throughTheLocalSocket() {
  const int listener = listenAt(sockaddr_un{AF_UNIX, "/dev/log"});
  ov_syslog_init("pellion");
  ov_err("100%% %s", "%s");
  ov_log_cleanup();
  return received(listener);
}

std::string throughDatagrams() {
  raiseLoopback();
  const int listener = listenAt(sockaddr_in{AF_INET, htons(514), {htonl(INADDR_LOOPBACK)}, {}});
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
  return all + "|" + testing::internal::GetCapturedStderr() + "|" + received(listener);
}

using SystemLog = test_support::Sandbox;

TEST_F(SystemLog, usesTheLocalSocketOrElseDatagrams) {
  constexpr int kNoWorld = 77;
  const pid_t child = fork();
  if (child == 0) {
    if (!enterOwnWorld()) {
      _exit(kNoWorld);
    }
    writeFile(path("local"), throughTheLocalSocket());
    unlink("/dev/log");
    writeFile(path("datagrams"), throughDatagrams());
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (WIFEXITED(status) && WEXITSTATUS(status) == kNoWorld) {
    GTEST_SKIP() << "this system does not allow namespaces of one's own";
  }
  EXPECT_EQ(status, 0);
  EXPECT_THAT(readFile(path("local")),
              testing::MatchesRegex("<147>.* pellion\\[[0-9]+\\]: ERR 100% %s"));
  EXPECT_EQ(readFile(path("datagrams")),
            "0|<147>ERR e 1|<150>LOG l|<151>DBG d|4096"
            "|Error writing to syslog UDP port, errno=9\n|<150>LOG again");
}

}  // namespace
