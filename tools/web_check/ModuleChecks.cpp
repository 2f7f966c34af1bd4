#include <dlfcn.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tools/web_check/BoundedChild.h"
#include "tools/web_check/Check.h"

namespace fs = std::filesystem;

namespace web_check {

namespace {

constexpr char kFileName[] = "nporvaneweb.so";
constexpr char kMimeDescription[] = "application/x-orvane-web::Orvane Web";
constexpr char kDescribe[] = "NP_GetMIMEDescription";
constexpr const char* kEntryPoints[] = {"NP_Initialize", "NP_Shutdown", "NP_GetEntryPoints",
                                        "NP_GetValue", kDescribe};
constexpr char kLoader[] = "/lib64/ld-linux-x86-64.so.2";
constexpr char kLoaded[] = "loaded\n";
constexpr char kReinstall[] = "install the module anew; this file is not the one for this machine";
constexpr int kLoadMs = 5000;

std::vector<fs::path> searchDirectories() {
  std::vector<fs::path> directories;
  if (const char* path = std::getenv("MOZ_PLUGIN_PATH")) {
    std::istringstream entries(path);
    for (std::string entry; std::getline(entries, entry, ':');) {
      if (!entry.empty()) {
        directories.emplace_back(entry);
      }
    }
  }
  if (const char* home = std::getenv("HOME")) {
    directories.push_back(fs::path(home) / ".mozilla/plugins");
  }
  directories.emplace_back("/usr/lib/mozilla/plugins");
  return directories;
}

// A directory without the module, and why it has none.
std::string describeEmpty(const fs::path& directory) {
  std::error_code ignored;
  const bool hasName = fs::exists(fs::symlink_status(directory / kFileName, ignored));
  return directory.string() + (!fs::is_directory(directory, ignored) ? " (no such directory)"
                               : hasName ? " (its " + std::string(kFileName) + " is no file)"
                                         : "");
}

void write(int output, const std::string& text) {
  [[maybe_unused]] const ssize_t written = ::write(output, text.data(), text.size());
}

// In the child: answers `kLoaded` and the module's description, or the reason for its refusal.
void loadAndDescribe(const std::string& path, int output) {
  const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
  dup2(nowhere, STDOUT_FILENO);
  dup2(nowhere, STDERR_FILENO);
  void* const module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (module == nullptr) {
    write(output, dlerror());
    return;
  }
  for (const char* name : kEntryPoints) {
    if (dlsym(module, name) == nullptr) {
      write(output, "it has no " + std::string(name));
      return;
    }
  }
  // The module loads it by name, when a window is first needed.
  const void* const gtk = dlopen("libgtk-x11-2.0.so.0", RTLD_NOW | RTLD_LOCAL);
  if (gtk == nullptr) {
    write(output, dlerror());
    return;
  }
  const auto describe = reinterpret_cast<const char* (*)()>(dlsym(module, kDescribe));
  const char* const description = describe();
  write(output, kLoaded + std::string(description != nullptr ? description : ""));
}

void listDependencies(const std::string& path, int output) {
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  // Unlike its option --list, this goes on after the first one that is missing.
  setenv("LD_TRACE_LOADED_OBJECTS", "1", 1);
  execl(kLoader, kLoader, path.c_str(), nullptr);
  write(output, std::string(kLoader) + ": " + std::strerror(errno));
  _exit(127);
}

// Empty when the child came to its end.
std::string describeEnd(const ChildResult& result) {
  if (result.timedOut) {
    return "it took more than " + std::to_string(kLoadMs / 1000) + " s";
  }
  return WIFSIGNALED(result.waitStatus)
             ? "it crashed (" + std::string(strsignal(WTERMSIG(result.waitStatus))) + ")"
             : std::string();
}

}  // namespace

Finding checkModule(Context* context) {
  std::string others;
  std::string empty;
  std::error_code ignored;
  for (const fs::path& directory : searchDirectories()) {
    const fs::path file = directory / kFileName;
    if (!fs::is_regular_file(file, ignored)) {
      empty += (empty.empty() ? "" : ", ") + describeEmpty(directory);
    } else if (context->modulePath.empty()) {
      context->modulePath = fs::absolute(file);
    } else if (!fs::equivalent(file, context->modulePath, ignored)) {
      others += " and " + file.string();
    }
  }
  if (context->modulePath.empty()) {
    return Finding::failed(std::string(kFileName) + " is in none of " + empty,
                           "install the module, or name its directory in the browser's "
                           "MOZ_PLUGIN_PATH");
  }
  if (access(context->modulePath.c_str(), R_OK) != 0) {
    return Finding::failed(context->modulePath + " cannot be read: " + std::strerror(errno),
                           "let the user read it, with chmod 644");
  }
  return others.empty() ? Finding::ok(context->modulePath)
                        : Finding::warning(context->modulePath + others,
                                           "remove all but one; which of them a browser takes "
                                           "depends on the browser");
}

Finding checkDependencies(Context* context) {
  const ChildResult result =
      runBounded([context](int output) { listDependencies(context->modulePath, output); }, kLoadMs);
  std::istringstream lines(result.output);
  std::string missing;
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    if (line.find("=> not found") != std::string::npos) {
      const size_t begin = line.find_first_not_of(" \t");
      missing += " " + line.substr(begin, line.find(' ', begin) - begin);
    }
  }
  if (!missing.empty()) {
    return Finding::failed("missing:" + missing, "install the packages that hold these libraries");
  }
  if (result.timedOut || result.waitStatus != 0) {
    const std::string end = describeEnd(result);
    return Finding::failed(
        "the loader does not list them: " + (end.empty() ? quote(result.output) : end), kReinstall);
  }
  return Finding::ok("all " + std::to_string(count) + " libraries are there");
}

Finding checkLoads(Context* context) {
  const ChildResult result =
      runBounded([context](int output) { loadAndDescribe(context->modulePath, output); }, kLoadMs);
  const std::string end = describeEnd(result);
  if (!end.empty()) {
    return Finding::failed("loading fails: " + end, kReinstall);
  }
  if (result.output.rfind(kLoaded, 0) != 0) {
    return Finding::failed("loading fails: " + result.output, kReinstall);
  }
  context->mimeDescription = result.output.substr(std::strlen(kLoaded));
  return Finding::ok("it loads, and has all entry points");
}

Finding checkMimeType(Context* context) {
  const std::string seen = quote(context->mimeDescription);
  return context->mimeDescription == kMimeDescription
             ? Finding::ok(seen)
             : Finding::failed(seen + " instead of " + quote(kMimeDescription),
                               "another plugin has this file name; install the module anew");
}

}  // namespace web_check
