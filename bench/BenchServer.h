#ifndef BENCH_BENCHSERVER_H_
#define BENCH_BENCHSERVER_H_

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <thread>

namespace bench {

// A loopback server on a port that the kernel picks, the same for every contestant: it reads one
// request a connection (with its Content-Length), answers with ready-made bytes, and closes.
class BenchServer {
 public:
  enum class Length { kAnnounced, kUntilClose };

  // Answers 200 and this body, or one of `bodySize` bytes.
  explicit BenchServer(const std::string& body, Length length = Length::kAnnounced);
  explicit BenchServer(size_t bodySize, Length length = Length::kAnnounced);
  // Answers what `respond` has ready for a request. Only the server's thread calls it.
  explicit BenchServer(std::function<const std::string&(std::string_view request)> respond);
  ~BenchServer();
  BenchServer(const BenchServer&) = delete;
  BenchServer& operator=(const BenchServer&) = delete;

  int port() const { return _port; }
  // Of the whole response that is the same for all, headers included.
  size_t responseSize() const { return _response.size(); }

  // A response with this body of JSON.
  static std::string responseOf(const std::string& body, Length length);

 private:
  void serve();
  void answer(int connection) const;

  std::string _response;
  const std::function<const std::string&(std::string_view request)> _respond;
  int _listener;
  int _port;
  std::thread _thread;
};

}  // namespace bench

#endif  // BENCH_BENCHSERVER_H_
