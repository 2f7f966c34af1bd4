#ifndef TOOLS_WEB_CHECK_BROWSER_H_
#define TOOLS_WEB_CHECK_BROWSER_H_

#include <filesystem>
#include <string>
#include <vector>

namespace web_check {

// One of today's browsers, and where it looks for what it needs of Orvane Web.
struct Browser {
  const char* name;   // as the option --browser takes it
  const char* title;  // for people
  std::vector<const char*> programs;
  const char* flatpak;  // its name among Flatpaks
  const char* snap;     // and among snaps
  const char* sandbox;  // what it keeps extensions of those from
  const char*
      allowed;  // the member of a native messaging manifest that lists who may start the host
  const char* caller;  // this extension in that list
  const char* switchOn;
  std::vector<const char*> systemManifests;   // directories
  std::vector<const char*> systemExtensions;  // patterns of glob(3)
};

// All that are known.
const std::vector<Browser>& browsers();
// Null for an unknown name.
const Browser* findBrowser(const std::string& name);

// The program of this name in PATH; empty when there is none, or only one that runs in a sandbox.
std::string programOf(const Browser& browser);
// Which sandboxed kinds of it there are, for people; empty for none.
std::string sandboxesOf(const Browser& browser);

// Where the browser looks for native messaging manifests, the user's directory first.
std::vector<std::filesystem::path> manifestDirectories(const Browser& browser);
// The directories in which it keeps its profiles' files.
std::vector<std::filesystem::path> profilesOf(const Browser& browser);

// The paths that match a pattern of glob(3).
std::vector<std::filesystem::path> matches(const std::string& pattern);

}  // namespace web_check

#endif  // TOOLS_WEB_CHECK_BROWSER_H_
