#include "plugin/src/FileSystem.h"

#include <mutex>
#include <stdexcept>

#include "ovlib/overrno.h"
#include "ovlib/ovlog.h"
#include "ovlib/ovpath.h"
#include "ovlib/ovstring.h"

namespace Pellion::Web {

namespace {

// What the caches hold is set once under the mutex and never changes after that, so that references
// to it stay good. Never destroyed: a thread may ask while the process exits.
struct Caches {
  std::mutex mutex;
  std::string _appDataPath;
  std::string _pellionAppDataPath;
  std::string _logPath;
  std::string _pluginPath;
};

Caches& caches() {
  static Caches* const all = new Caches;
  return *all;
}

bool isEmpty(const std::string& cache) {
  std::lock_guard<std::mutex> lock(caches().mutex);
  return cache.empty();
}

// True for the caller that filled the cache.
bool fill(std::string& cache, const std::string& path) {
  std::lock_guard<std::mutex> lock(caches().mutex);
  if (!cache.empty()) {
    return false;
  }
  cache = path;
  return true;
}

std::string homeDirectoryWithSlash() {
  char path[OV_PATH_MAX] = "";
  if (ov_path_home_dir(path, sizeof(path)) < 0 || ov_str_ncat(path, "/", sizeof(path)) != OV_OK) {
    throw std::runtime_error("No home directory");
  }
  return path;
}

}  // namespace

const std::string& FileSystem::appDataPath() {
  std::string& cache = caches()._appDataPath;
  if (isEmpty(cache) && fill(cache, homeDirectoryWithSlash())) {
    ov_log("Application data directory: %s", cache.c_str());
  }
  return cache;
}

const std::string& FileSystem::pellionAppDataPath() {
  std::string& cache = caches()._pellionAppDataPath;
  if (isEmpty(cache)) {
    fill(cache, appDataPath() + ".orvane/pellion");
  }
  return cache;
}

const std::string& FileSystem::logPath() {
  std::string& cache = caches()._logPath;
  if (isEmpty(cache)) {
    fill(cache, pellionAppDataPath() + "/var/log/orvane-pellion-browser-plugin.log");
  }
  return cache;
}

const std::string& FileSystem::pluginPath() {
  const std::string& cache = caches()._pluginPath;
  // Deliberate: nothing ever fills this path, so every call writes the line.
  if (isEmpty(cache)) {
    ov_log("Browser plugin directory: %s", cache.c_str());
  }
  return cache;
}

}  // namespace Pellion::Web
