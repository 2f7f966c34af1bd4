#ifndef TOOLS_WEB_CHECK_CHECK_H_
#define TOOLS_WEB_CHECK_CHECK_H_

#include <string>
#include <utility>

#include "tools/web_check/Handshake.h"

namespace web_check {

// In the order of their weight; the program's exit code is the worst one's number.
enum class Status { kOk = 0, kWarning = 1, kFailed = 2 };

// What one check saw, and what the user should do about it. Texts may hold anything that was found;
// the report makes them printable.
struct Finding {
  Status status = Status::kOk;
  std::string seen;
  std::string remedy;
  bool stops = false;  // the checks that need this one cannot be made

  static Finding ok(std::string seen) { return {Status::kOk, std::move(seen), "", false}; }
  static Finding warning(std::string seen, std::string remedy) {
    return {Status::kWarning, std::move(seen), std::move(remedy), false};
  }
  // As a warning; the chain ends here, though nothing is wrong with it.
  static Finding pause(std::string seen, std::string remedy) {
    return {Status::kWarning, std::move(seen), std::move(remedy), true};
  }
  static Finding failed(std::string seen, std::string remedy) {
    return {Status::kFailed, std::move(seen), std::move(remedy), true};
  }
};

// What earlier checks found out for later ones.
struct Context {
  bool fix = false;  // make what is missing of the user's

  std::string modulePath;
  std::string mimeDescription;
  std::string host;  // of the local application, dotted
  unsigned short port = 0;

  const Browser* browser = nullptr;
  std::string manifestPath;
  std::string hostPath;
  Handshake handshake;
};

// One link of the chain. It runs when the check named in `needs`, an earlier one, did not stop.
struct Check {
  const char* name;
  const char* needs;  // null: nothing
  Finding (*run)(Context* context);
};

// The module, as a browser finds and loads it.
Finding checkModule(Context* context);
Finding checkDependencies(Context* context);
Finding checkLoads(Context* context);
Finding checkMimeType(Context* context);
// The user's directories.
Finding checkHome(Context* context);
Finding checkDirectories(Context* context);
Finding checkLogDirectory(Context* context);
// The application, as the plugin finds it.
Finding checkPathFile(Context* context);
Finding checkExecutable(Context* context);
Finding checkUrlFile(Context* context);
// What it answers.
Finding checkPort(Context* context);
Finding checkVersion(Context* context);
Finding checkActivity(Context* context);

// What to do when the application does not run.
inline constexpr char kStart[] =
    "start it and check again, to see more; the plugin starts it by itself when the executable is "
    "in order";

// A file's or a server's text in a finding: between quotes, and not all of a long one.
std::string quote(const std::string& text);
// True when the shell that gets the path without quotes would not take it for one word.
bool breaksInShell(const std::string& path);

}  // namespace web_check

#endif  // TOOLS_WEB_CHECK_CHECK_H_
