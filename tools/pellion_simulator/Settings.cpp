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
  } else if (name == kRateLimit &&
             std::from_chars(value.data(), value.data() + value.size(), number).ec == std::errc() &&
             number >= 0 && number <= kLargestRateLimit) {
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
  return _rateLimit;
}

void Settings::setRateLimit(int64_t bytesPerSecond) {
  std::lock_guard<std::mutex> lock(_mutex);
  _rateLimit = bytesPerSecond;
}

void Settings::save(const std::string& downloadDirectory, int64_t rateLimit) {
  std::lock_guard<std::mutex> lock(_mutex);
  _downloadDirectory = downloadDirectory == desktopDownloadDirectory() ? "" : downloadDirectory;
  _rateLimit = rateLimit;
  writeFileAtomically(_path, kDownloadDirectory + (kSeparator + _downloadDirectory) + "\n" +
                                 kRateLimit + kSeparator + std::to_string(_rateLimit) + "\n");
}

}  // namespace pellion_simulator
