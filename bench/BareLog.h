#ifndef BENCH_BARELOG_H_
#define BENCH_BARELOG_H_

#include <sys/types.h>

#include <ctime>
#include <mutex>
#include <string>

namespace bench {

// What a log line costs at least: under one mutex, the same header and text formatted, one write,
// and one file status where it is asked for. It keeps no repeat state and knows no ring; past the
// module's limit the file is emptied. For any thread.
class BareLog {
 public:
  enum class Size { kAsked, kCounted };

  // The program's one log, beside the module's; asks for no status.
  static BareLog& get();
  BareLog(const std::string& path, Size size);
  ~BareLog();
  BareLog(const BareLog&) = delete;
  BareLog& operator=(const BareLog&) = delete;

  // One line of at most 4 KiB behind the level ("LOG", "DBG", "ERR").
  void line(const char* level, const char* format, ...) __attribute__((format(printf, 3, 4)));

 private:
  void refreshStamp();
  off_t sizeAfter(ssize_t written);

  std::mutex _mutex;
  const unsigned _process;
  int _file;
  const Size _size;
  off_t _counted = 0;
  time_t _second = -1;
  char _stamp[64] = "";
};

}  // namespace bench

#endif  // BENCH_BARELOG_H_
