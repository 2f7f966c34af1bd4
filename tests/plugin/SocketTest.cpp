#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

#include "plugin/src/IpAddress.h"
#include "plugin/src/TcpSocket.h"
#include "tests/plugin/LoggedSandbox.h"
#include "tests/support/ScriptedServer.h"

namespace {

using Pellion::Web::IpAddress;
using testing::ContainsRegex;

class OpenTcpSocket : public Pellion::Web::TcpSocket {
 public:
  int descriptor() const { return _sock; }
};

using Sockets = LoggedSandbox;

TEST_F(Sockets, areClosedOnceAndNotInherited) {
  OpenTcpSocket socket;
  char byte = 'x';
  EXPECT_EQ(socket.recv(&byte, 1) + socket.send(&byte, 1), -2);
  EXPECT_EQ(logText(), "");
  ASSERT_TRUE(socket.create());
  EXPECT_EQ(fcntl(socket.descriptor(), F_GETFD), FD_CLOEXEC);
  close(socket.descriptor());
  for (int i = 0; i < 2; ++i) {
    socket.close();
    EXPECT_EQ(socket.descriptor(), -1);
  }
  EXPECT_THAT(logLines("Error closing socket"),
              testing::ElementsAre(ContainsRegex("ERR Error closing socket 0x[0-9a-f]+ \\(9\\)$")));
  const size_t descriptors = test_support::countDescriptors();
  EXPECT_TRUE(OpenTcpSocket().create());
  EXPECT_EQ(test_support::countDescriptors(), descriptors);
}

TEST_F(Sockets, reportWhatFailed) {
  test_support::ScriptedServer server("");
  OpenTcpSocket socket;
  EXPECT_FALSE(socket.connect("", 80));
  EXPECT_NE(socket.descriptor(), -1);
  ASSERT_TRUE(socket.create());
  ASSERT_TRUE(socket.connect("127.0.0.1", static_cast<unsigned short>(server.port())));
  shutdown(socket.descriptor(), SHUT_WR);
  char byte = 'x';
  EXPECT_EQ(socket.send(&byte, 1), -1) << "and no signal";
  ASSERT_TRUE(socket.create());
  EXPECT_EQ(socket.recv(&byte, 1), -1);
  EXPECT_THAT(logText(),
              ContainsRegex("LOG ERROR: Unable to resolve IP address\n.*"
                            "LOG Connection failed for socket 0x[0-9a-f]+ \\(-1\\)\n.*"
                            "ERR Socket::send\\(\\) \\[0x[0-9a-f]+\\] - send failed \\(-1\\)\n.*"
                            "ERR Socket::recv\\(\\) \\[0x[0-9a-f]+\\] - recv failed \\(-1\\)\n"));
}

TEST_F(Sockets, resolveToIpv4Only) {
  EXPECT_EQ(IpAddress::resolve("localhost"), "127.0.0.1");
  EXPECT_EQ(IpAddress::resolve("127.1"), "127.0.0.1");
  EXPECT_EQ(logText(), "");
  EXPECT_EQ(IpAddress::resolve("::1"), "");
  EXPECT_THAT(logText(),
              testing::HasSubstr("LOG ERROR: Unable to resolve IP address (AF_INET not found)\n"));
}

}  // namespace
