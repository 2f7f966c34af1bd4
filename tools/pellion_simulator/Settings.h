#ifndef PELLION_SIMULATOR_SETTINGS_H_
#define PELLION_SIMULATOR_SETTINGS_H_

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

namespace pellion_simulator {

// The user's preferences, kept in a small text file of "name = value" lines. Safe from every
// thread.
class Settings {
 public:
  static constexpr int64_t kLargestRateLimit = 1'000'000'000'000;

  // Reads `path`; what is missing or unreadable there keeps its default.
  explicit Settings(const std::string& path);
  Settings(const Settings&) = delete;
  Settings& operator=(const Settings&) = delete;

  // The chosen directory, else the desktop's download directory, else ~/Downloads. It need not
  // exist yet.
  std::string downloadDirectory() const;
  // Bytes per second; 0 is no limit.
  int64_t rateLimit() const;

  // Holds for this run in place of the preferences' one, which stays as it is in the file.
  void setRateLimit(int64_t bytesPerSecond);
  // Writes the file; only then does it take effect, for files that start from now on. Without a new
  // rate limit both that of this run and the preferences' stay. Throws FileError.
  void save(const std::string& downloadDirectory, std::optional<int64_t> newRateLimit);

 private:
  void readLine(const std::string& name, const std::string& value);

  const std::string _path;
  mutable std::mutex _mutex;
  std::string _downloadDirectory;     // guarded by _mutex; empty: the desktop's
  int64_t _rateLimit = 0;             // guarded by _mutex: the preferences'
  std::optional<int64_t> _ofThisRun;  // guarded by _mutex: the rate limit in its place
};

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_SETTINGS_H_
