#include <netinet/in.h>
#include <sys/socket.h>
#include <syslog.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "ovlib/overrno.h"
#include "ovlib/ovfile.h"
#include "ovlib/ovlog.h"
#include "ovlib/ovlog_internal.h"
#include "ovlib/ovsocket.h"
#include "ovlib/ovstring.h"

namespace ov_log_internal {

namespace {

constexpr char kLocalSocket[] = "/dev/log";
constexpr in_port_t kSyslogPort = 514;
constexpr int kTextLimit = 4091;
constexpr int kDatagramLimit = 4096;
constexpr int g_logpri[LEVEL_COUNT] = {LOG_ERR, LOG_INFO, LOG_DEBUG};

int use_udp = 0;
int ovlog_sock = -1;
sockaddr_in ovlog_addr;
int ovlog_opened = 0;
char identity[256];

void closeUdp() {
  if (ovlog_sock != -1) {
    ov_sock_close(ovlog_sock);
  }
  ovlog_sock = -1;
  ovlog_opened = 0;
}

void sendDatagram(int priority, const char* text) {
  if ((ovlog_opened == 0 && ov_openlog() != OV_OK) || ovlog_sock == -1) {
    return;
  }
  char datagram[kDatagramLimit + 1];
  int length = snprintf(datagram, sizeof(datagram), "<%3d>%s", priority, text);
  length = length < kDatagramLimit ? length : kDatagramLimit;
  if (sendto(ovlog_sock, datagram, static_cast<size_t>(length), MSG_NOSIGNAL,
             reinterpret_cast<const sockaddr*>(&ovlog_addr), sizeof(ovlog_addr)) == -1) {
    fprintf(stderr, "Error writing to syslog UDP port, errno=%d\n", errno);
    closeUdp();
  }
}

}  // namespace

void startSystemLog(const char* ident) {
  ov_file_status status;
  if (ov_file_stat(kLocalSocket, &status) == OV_ENOENT) {
    use_udp = 1;
    ov_openlog();
  } else if (use_udp == 0) {
    // The C library keeps the pointer.
    ov_str_ncpy(identity, ident != nullptr ? ident : "", sizeof(identity));
    openlog(ident != nullptr ? identity : nullptr, LOG_PID, LOG_LOCAL2);
  }
}

void stopSystemLog() {
  closelog();
  closeUdp();
}

int writeSystemLog(int level, const char* format, va_list args) {
  char text[kTextLimit + 5];
  if (formatMessage(text, kTextLimit, level, format, args) < 0) {
    return OV_ELOG;
  }
  const int priority = LOG_LOCAL2 | g_logpri[level];
  if (use_udp != 0) {
    sendDatagram(priority, text);
  } else {
    syslog(priority, "%s", text);
  }
  return OV_OK;
}

}  // namespace ov_log_internal

using namespace ov_log_internal;

int ov_openlog() {
  OvLock lock(&log_lock);
  closeUdp();
  ovlog_sock = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (ovlog_sock == -1) {
    return errno;
  }
  ovlog_addr = {};
  ovlog_addr.sin_family = AF_INET;
  ovlog_addr.sin_port = htons(kSyslogPort);
  ovlog_addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ovlog_opened = 1;
  return OV_OK;
}
