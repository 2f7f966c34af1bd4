#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "ovlib/ovdir.h"
#include "ovlib/overrno.h"
#include "ovlib/ovfile.h"
#include "ovlib/ovpath.h"
#include "plugin/src/FileSystem.h"
#include "tools/web_check/Check.h"

namespace fs = std::filesystem;
using Pellion::Web::FileSystem;

namespace web_check {

namespace {

constexpr mode_t kDirectoryMode = 0700;

// What became of some directories.
struct DirectoryState {
  std::string usable;   // all of them, or empty
  std::string created;  // those that were missing
  std::string missing;
  std::string unusable;  // with the reason
};

void addWord(const std::string& word, std::string* list) {
  *list += (list->empty() ? "" : ", ") + word;
}

// The reason why nothing can be written there; empty when something can.
std::string refusal(const std::string& path) {
  ov_file_status status;
  const int error = ov_file_stat(path.c_str(), &status);
  if (error != OV_OK) {
    return std::strerror(error);
  }
  if (status.kind != OV_FILE_DIRECTORY) {
    return std::strerror(ENOTDIR);
  }
  return access(path.c_str(), W_OK | X_OK) == 0 ? std::string() : std::strerror(errno);
}

DirectoryState examine(const std::vector<std::string>& paths, bool fix) {
  DirectoryState state;
  for (const std::string& path : paths) {
    ov_file_status status;
    const bool isMissing = ov_file_stat(path.c_str(), &status) == OV_ENOENT;
    const int made = isMissing && fix ? ov_dir_create(path.c_str(), kDirectoryMode, true) : OV_OK;
    if (isMissing && !fix) {
      addWord(path, &state.missing);
    } else if (made != OV_OK) {
      addWord(path + " (cannot be made: " + std::strerror(made) + ")", &state.unusable);
    } else if (const std::string reason = refusal(path); !reason.empty()) {
      addWord(path + " (" + reason + ")", &state.unusable);
    } else {
      addWord(path, isMissing ? &state.created : &state.usable);
    }
  }
  return state;
}

Finding report(const DirectoryState& state, Status unusable, const std::string& effect) {
  if (!state.unusable.empty()) {
    return {unusable, "cannot be written: " + state.unusable + ", " + effect,
            "make it a directory of yours that you can write", false};
  }
  if (!state.missing.empty()) {
    return Finding::warning("missing: " + state.missing + ", " + effect,
                            "run orvane-web-check --fix, which makes them");
  }
  const std::string separator = state.usable.empty() || state.created.empty() ? "" : "; ";
  return Finding::ok(state.usable + separator +
                     (state.created.empty() ? "" : "created " + state.created));
}

// A member of the log's ring that cannot be written; empty when there is none.
std::string unwritableLog(const fs::path& log) {
  const std::string prefix = log.stem().string() + ".";
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(log.parent_path(), ignored)) {
    const std::string name = entry.path().filename();
    if (name.rfind(prefix, 0) == 0 && access(entry.path().c_str(), W_OK) != 0) {
      return entry.path().string() + " (" + std::strerror(errno) + ")";
    }
  }
  return std::string();
}

}  // namespace

Finding checkHome(Context*) {
  char home[OV_PATH_MAX] = "";
  if (ov_path_home_dir(home, sizeof(home)) <= 0 || *home != '/') {
    return Finding::failed("HOME names no absolute path",
                           "set HOME to your home directory, in the browser's environment, too");
  }
  const std::string reason = refusal(home);
  if (!reason.empty()) {
    return Finding::failed(home + std::string(": ") + reason,
                           "set HOME to a directory of yours that you can write");
  }
  if (breaksInShell(home)) {
    return Finding::warning(quote(home) +
                                " has blanks or signs that the shell reads in its own "
                                "way; an application below it cannot be started",
                            "install Orvane Pellion for all users, or start it yourself before the "
                            "page does");
  }
  return Finding::ok(home);
}

Finding checkDirectories(Context* context) {
  const std::string root = FileSystem::pellionAppDataPath();
  return report(examine({root + "/etc", root + "/var/run"}, context->fix), Status::kFailed,
                "where the application keeps its address and its settings");
}

Finding checkLogDirectory(Context* context) {
  const fs::path log = FileSystem::logPath();
  DirectoryState state = examine({log.parent_path()}, context->fix);
  if (state.unusable.empty()) {
    state.unusable = unwritableLog(log);
  }
  return report(state, Status::kWarning, "so the plugin's log is lost");
}

}  // namespace web_check
