#ifndef BENCH_BENCHSERVER_H_
#define BENCH_BENCHSERVER_H_

#include <cstddef>
#include <string>
#include <thread>

namespace bench {

// A loopback server on a port that the kernel picks, the same for every contestant: it reads one
// request a connection (with its Content-Length), answers the same bytes, and closes.
class BenchServer {
 public:
  enum class Length { kAnnounced, kUntilClose };

  // Answers 200 and this body, or one of `bodySize` bytes.
  explicit BenchServer(const std::string& body, Length length = Length::kAnnounced);
  explicit BenchServer(size_t bodySize, Length length = Length::kAnnounced);
  ~BenchServer();
  BenchServer(const BenchServer&) = delete;
  BenchServer& operator=(const BenchServer&) = delete;

  int port() const { return _port; }
  // Of the whole response, headers included.
  size_t responseSize() const { return _response.size(); }

 private:
  void serve();
  void answer(int connection) const;

  std::string _response;
  int _listener;
  int _port;
  std::thread _thread;
};

}  // namespace bench

#endif  // BENCH_BENCHSERVER_H_
