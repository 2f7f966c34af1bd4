#include "tools/web_host/Sites.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "tools/npapi_host/Text.h"
#include "tools/web_host/FdGuard.h"

namespace fs = std::filesystem;

namespace web_host {
namespace {

const char kName[] = "sites";
const char kDirectory[] = "orvane-web";
const size_t kLargestFile = size_t{1024} * 1024;

[[noreturn]] void fail(const std::string& path, const std::string& what) {
  throw std::runtime_error(path + " " + what);
}

[[noreturn]] void failWithReason(const std::string& path, const std::string& what) {
  fail(path, what + ": " + std::strerror(errno));
}

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

// /etc/xdg first, whatever the environment says.
std::vector<std::string> administratorFiles() {
  std::vector<std::string> files = {std::string("/etc/xdg/") + kDirectory + "/" + kName};
  for (const std::string& entry : npapi_host::colonSeparated(environment("XDG_CONFIG_DIRS"))) {
    const std::string file = entry + "/" + kDirectory + "/" + kName;
    if (entry[0] == '/' && std::find(files.begin(), files.end(), file) == files.end()) {
      files.push_back(file);
    }
  }
  return files;
}

std::string userDirectoryName() {
  const std::string config = environment("XDG_CONFIG_HOME");
  if (!config.empty() && config[0] == '/') {
    return config + "/" + kDirectory;
  }
  const std::string home = environment("HOME");
  if (home.empty()) {
    throw std::runtime_error("HOME is not set");
  }
  return home + "/.config/" + kDirectory;
}

// Empty when there is no such file.
std::string readFile(const std::string& path) {
  const FdGuard file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  struct stat status;
  if (file.get() < 0 || fstat(file.get(), &status) != 0) {
    if (errno == ENOENT || errno == ENOTDIR) {
      return std::string();
    }
    failWithReason(path, "cannot be read");
  }
  if (!S_ISREG(status.st_mode)) {
    fail(path, "is no regular file");
  }
  std::string text;
  char buffer[4096];
  ssize_t size = 0;
  while ((size = ::read(file.get(), buffer, sizeof(buffer))) > 0) {
    text.append(buffer, static_cast<size_t>(size));
    if (text.size() > kLargestFile) {
      fail(path, "is larger than 1 MiB");
    }
  }
  if (size < 0) {
    failWithReason(path, "cannot be read");
  }
  return text;
}

void writeWhole(int file, const std::string& text, const std::string& path) {
  size_t done = 0;
  while (done < text.size()) {
    const ssize_t size = ::write(file, text.data() + done, text.size() - done);
    if (size < 0 && errno != EINTR) {
      failWithReason(path, "cannot be written");
    }
    done += static_cast<size_t>(std::max<ssize_t>(size, 0));
  }
  if (fsync(file) != 0) {
    failWithReason(path, "cannot be written");
  }
}

// A reader finds the old text or the new one, never a part.
void replaceFile(const std::string& path, const std::string& text, int directory) {
  std::string temporary = path + ".XXXXXX";
  const FdGuard file(mkostemp(temporary.data(), O_CLOEXEC));  // for the user alone
  if (file.get() < 0) {
    failWithReason(path, "cannot be written");
  }
  try {
    writeWhole(file.get(), text, path);
    if (rename(temporary.c_str(), path.c_str()) != 0) {
      failWithReason(path, "cannot be replaced");
    }
  } catch (...) {
    unlink(temporary.c_str());
    throw;
  }
  fsync(directory);
}

}  // namespace

std::string Sites::userDirectory() {
  const std::string directory = userDirectoryName();
  std::error_code ignored;
  fs::create_directories(fs::path(directory).parent_path(), ignored);
  if (mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST) {
    failWithReason(directory, "cannot be made");
  }
  return directory;
}

SiteList Sites::read(const std::string& path, bool* unreadable) {
  std::string text;
  try {
    text = readFile(path);
  } catch (const std::runtime_error& error) {
    _complaints.emplace_back(error.what());
    *unreadable = true;
  }
  SiteList list(text);
  for (const std::string& complaint : list.complaints()) {
    _complaints.push_back(path + ", " + complaint);
  }
  return list;
}

std::vector<Sites::Entry> Sites::list() {
  _complaints.clear();
  _unreadable.reset();
  std::vector<Entry> all;
  const auto add = [&](const std::string& path, const std::string& shown) {
    bool unreadable = false;
    for (const SiteList::Entry& entry : read(path, &unreadable).entries()) {
      all.push_back({entry.origin, entry.leave, shown});
    }
    return !unreadable;
  };
  for (const std::string& file : administratorFiles()) {
    if (!add(file, file) && !_unreadable.has_value()) {
      _unreadable = Entry{"", Leave::kDeny, file, true};
      _readBefore = all.size();
    }
  }
  try {
    add(userDirectoryName() + "/" + kName, "");
  } catch (const std::runtime_error& error) {
    _complaints.emplace_back(error.what());
  }
  return all;
}

std::optional<Sites::Entry> Sites::find(const std::string& origin) {
  const std::vector<Entry> all = list();
  const auto end =
      _unreadable.has_value() ? all.begin() + static_cast<ptrdiff_t>(_readBefore) : all.end();
  const auto found =
      std::find_if(all.begin(), end, [&](const Entry& entry) { return entry.origin == origin; });
  return found != end ? std::optional<Entry>(*found) : _unreadable;
}

// The directory is locked, so that no change of another process is lost.
void Sites::set(const std::string& origin, std::optional<Leave> leave) {
  const std::string directory = userDirectory();
  const FdGuard lock(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (lock.get() < 0 || flock(lock.get(), LOCK_EX) != 0) {
    failWithReason(directory, "cannot be opened");
  }
  std::string path = directory + "/" + kName;
  std::error_code none;
  const fs::path target = fs::canonical(path, none);  // a link stays one
  path = none ? path : target.string();
  SiteList list(readFile(path));
  list.set(origin, leave);
  replaceFile(path, list.text(), lock.get());
}

}  // namespace web_host
