#include "tools/pellion_simulator/Settings.h"

#include <glib.h>

#include <charconv>
#include <sstream>

#include "tools/pellion_simulator/FileIo.h"
#include "tools/pellion_simulator/Log.h"

namespace pellion_simulator {

namespace {

const char kDownloadDirectory[] = "download_directory";
const char kRateLimit[] = "rate_limit";
const char kSeparator[] = " = ";

std::string desktopDownloadDirectory() {
  const char* directory = g_get_user_special_dir(G_USER_DIRECTORY_DOWNLOAD);
  return directory != nullptr ? directory : joinPath(g_get_home_dir(), "Downloads");
}

bool isWholeNumber(const std::string& text, int64_t* number) {
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, *number);
  return error == std::errc() && stop == end && *number >= 0;
}

}  // namespace

Settings::Settings(const std::string& path) : _path(path) {
  std::istringstream lines(readFileText(path));
  for (std::string line; std::getline(lines, line);) {
    const size_t separator = line.find(kSeparator);
    if (separator != std::string::npos) {
      readLine(line.substr(0, separator), line.substr(separator + sizeof(kSeparator) - 1));
    } else if (!line.empty()) {
      logLine("Preferences: not understood: " + line);
    }
  }
}

void Settings::readLine(const std::string& name, const std::string& value) {
  int64_t number = 0;
  if (name == kDownloadDirectory && (value.empty() || value[0] == '/')) {
    _downloadDirectory = value;
  } else if (name == kRateLimit && isWholeNumber(value, &number) && number <= kLargestRateLimit) {
    _rateLimit = number;
  } else {
    logLine("Preferences: not understood: " + name + kSeparator + value);
  }
}

std::string Settings::downloadDirectory() const {
  std::lock_guard<std::mutex> lock(_mutex);
  return _downloadDirectory.empty() ? desktopDownloadDirectory() : _downloadDirectory;
}

int64_t Settings::rateLimit() const {
  std::lock_guard<std::mutex> lock(_mutex);
  return _ofThisRun.value_or(_rateLimit);
}

void Settings::setRateLimit(int64_t bytesPerSecond) {
  std::lock_guard<std::mutex> lock(_mutex);
  _ofThisRun = bytesPerSecond;
}

void Settings::save(const std::string& downloadDirectory, std::optional<int64_t> newRateLimit) {
  std::lock_guard<std::mutex> lock(_mutex);
  const std::string directory =
      downloadDirectory == desktopDownloadDirectory() ? "" : downloadDirectory;
  const int64_t rateLimit = newRateLimit.value_or(_rateLimit);
  writeFileAtomically(_path, kDownloadDirectory + (kSeparator + directory) + "\n" + kRateLimit +
                                 kSeparator + std::to_string(rateLimit) + "\n");
  _downloadDirectory = directory;
  _rateLimit = rateLimit;
  if (newRateLimit) {
    _ofThisRun.reset();
  }
}

}  // namespace pellion_simulator
