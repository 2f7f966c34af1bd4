#ifndef FUZZ_PLANNED_NETWORK_H_
#define FUZZ_PLANNED_NETWORK_H_

#include <cstddef>
#include <string>
#include <vector>

// What the client's connections lead to instead of a network: one end of a socket pair each, whose
// other end has the answer in it. The program is linked so that its connect(), send(), recv() and
// getaddrinfo() come here; the client's own code does the rest. Any thread may connect.
namespace planned_network {

struct Answer {
  std::string bytes;             // at most 64 KiB of it are sent
  std::vector<size_t> segments;  // what each recv() and send() moves at most; then all there is
  bool reset = false;            // at its end
};

// The answers of the next connections, from the first again after the last; without one every
// connection is refused. Ends all connections.
void plan(const std::vector<Answer>& answers);

}  // namespace planned_network

#endif  // FUZZ_PLANNED_NETWORK_H_
