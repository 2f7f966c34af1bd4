#include "fuzz/PlannedNetwork.h"

#include <fcntl.h>
#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <mutex>

using planned_network::Answer;

extern "C" ssize_t __real_recv(int sock, void* buffer, size_t size, int flags);
extern "C" ssize_t __real_send(int sock, const void* buffer, size_t size, int flags);

namespace {

constexpr size_t kLongestAnswer = 65536;

struct Connection {
  int peer;
  Answer answer;
  size_t receives = 0;
  size_t sends = 0;
};

// Guards all below; never held in a call that waits.
std::mutex mutex;
std::vector<Answer> answers;
size_t next = 0;
std::map<int, Connection> connections;  // by the client's descriptor

size_t segment(const Answer& answer, size_t index, size_t size) {
  return index < answer.segments.size()
             ? std::min(size, std::max<size_t>(1, answer.segments[index]))
             : size;
}

}  // namespace

void planned_network::plan(const std::vector<Answer>& planned) {
  const std::lock_guard<std::mutex> lock(mutex);
  for (const auto& [sock, connection] : connections) {
    close(connection.peer);
  }
  connections.clear();
  answers = planned;
  next = 0;
}

// The peer's end holds the whole answer before the client reads.
extern "C" int __wrap_connect(int sock, const sockaddr*, socklen_t) {
  const std::lock_guard<std::mutex> lock(mutex);
  int ends[2];
  if (answers.empty() || socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
    errno = ECONNREFUSED;
    return -1;
  }
  dup3(ends[0], sock, O_CLOEXEC);
  close(ends[0]);
  const Answer& answer = answers[next++ % answers.size()];
  __real_send(ends[1], answer.bytes.data(), std::min(answer.bytes.size(), kLongestAnswer), 0);
  shutdown(ends[1], SHUT_WR);
  if (connections.count(sock) != 0) {
    close(connections[sock].peer);
  }
  connections[sock] = Connection{ends[1], answer};
  return 0;
}

extern "C" ssize_t __wrap_recv(int sock, void* buffer, size_t size, int flags) {
  const std::lock_guard<std::mutex> lock(mutex);
  Connection& connection = connections.at(sock);
  const size_t wanted = segment(connection.answer, connection.receives++, size);
  const ssize_t count = __real_recv(sock, buffer, wanted, flags);
  if (count == 0 && connection.answer.reset) {
    errno = ECONNRESET;
    return -1;
  }
  return count;
}

// What was sent is taken at once, so that the peer's end never fills up.
extern "C" ssize_t __wrap_send(int sock, const void* buffer, size_t size, int flags) {
  const std::lock_guard<std::mutex> lock(mutex);
  Connection& connection = connections.at(sock);
  char taken[4096];
  const size_t most = std::min(size, sizeof(taken));
  __real_send(sock, buffer, segment(connection.answer, connection.sends++, most), flags);
  return __real_recv(connection.peer, taken, sizeof(taken), MSG_DONTWAIT);
}

// No name is ever looked up.
extern "C" int __wrap_getaddrinfo(const char*, const char*, const addrinfo*, addrinfo**) {
  return EAI_NONAME;
}
