#include "tools/web_check/Browser.h"

#include <glob.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace web_check {

namespace {

// What is read of a script: longer ones do more than start another program.
constexpr size_t kScriptHead = 4096;

std::string environment(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

bool isFirefox(const Browser& browser) {
  return browser.name == std::string("firefox");
}

std::string configuration() {
  const std::string config = environment("XDG_CONFIG_HOME");
  return config.empty() || config[0] != '/' ? environment("HOME") + "/.config" : config;
}

// Chromium's profiles are in one directory.
fs::path chromiumDirectory() {
  const std::string own = environment("CHROME_CONFIG_HOME");
  return fs::path(own.empty() ? configuration() : own) / "chromium";
}

// Some distributions have a link or a script in /usr/bin that starts the snap.
bool isSnap(const fs::path& program) {
  std::error_code ignored;
  const std::string target = fs::canonical(program, ignored);
  std::string head(kScriptHead, '\0');
  std::ifstream file(program, std::ios::binary);
  file.read(head.data(), kScriptHead);
  return target == "/usr/bin/snap" || target.rfind("/snap/", 0) == 0 ||
         (head.rfind("#!", 0) == 0 && head.find("/snap/bin/") != std::string::npos);
}

}  // namespace

const std::vector<Browser>& browsers() {
  static const std::vector<Browser> kBrowsers = {
      {"firefox",
       "Firefox",
       {"firefox-esr", "firefox"},
       "org.mozilla.firefox",
       "firefox",
       "extensions start programs there only through the desktop's WebExtensions portal, if it "
       "has one",
       "allowed_extensions",
       "orvane-web@orvane.example",
       "switch it on at about:addons",
       {"/usr/lib/mozilla/native-messaging-hosts", "/usr/lib64/mozilla/native-messaging-hosts"},
       {"/usr/share/mozilla/extensions/{ec8030f7-c20a-464f-9b0e-13a3a9e97384}/"
        "orvane-web@orvane.example",
        "/usr/lib/mozilla/extensions/{ec8030f7-c20a-464f-9b0e-13a3a9e97384}/"
        "orvane-web@orvane.example"}},
      {"chromium",
       "Chromium",
       {"chromium", "chromium-browser"},
       "org.chromium.Chromium",
       "chromium",
       "extensions start no programs there",
       "allowed_origins",
       "chrome-extension://" ORVANE_CHROMIUM_ID "/",
       "switch it on at chrome://extensions",
       {"/etc/chromium/native-messaging-hosts"},
       {"/usr/share/chromium/extensions/*"}},
  };
  return kBrowsers;
}

const Browser* findBrowser(const std::string& name) {
  for (const Browser& browser : browsers()) {
    if (browser.name == name) {
      return &browser;
    }
  }
  return nullptr;
}

std::string programOf(const Browser& browser) {
  for (const char* name : browser.programs) {
    std::istringstream directories(environment("PATH"));
    for (std::string directory; std::getline(directories, directory, ':');) {
      const fs::path program = fs::path(directory) / name;
      if (access(program.c_str(), X_OK) == 0 && !isSnap(program)) {
        return program;
      }
    }
  }
  return std::string();
}

std::string sandboxesOf(const Browser& browser) {
  std::string found;
  std::error_code ignored;
  for (const std::string& root :
       {environment("HOME") + "/.local/share/flatpak", std::string("/var/lib/flatpak")}) {
    if (fs::exists(root + "/app/" + browser.flatpak, ignored)) {
      found += std::string(found.empty() ? "" : " and ") + "a Flatpak (" + browser.flatpak + ")";
      break;
    }
  }
  if (fs::exists(std::string("/snap/bin/") + browser.snap, ignored)) {
    found += std::string(found.empty() ? "" : " and ") + "a snap (" + browser.snap + ")";
  }
  return found;
}

std::vector<fs::path> manifestDirectories(const Browser& browser) {
  std::vector<fs::path> directories = {
      isFirefox(browser) ? fs::path(environment("HOME")) / ".mozilla/native-messaging-hosts"
                         : chromiumDirectory() / "NativeMessagingHosts"};
  directories.insert(directories.end(), browser.systemManifests.begin(),
                     browser.systemManifests.end());
  return directories;
}

std::vector<fs::path> profilesOf(const Browser& browser) {
  if (!isFirefox(browser)) {
    return matches(chromiumDirectory().string() + "/*");
  }
  std::vector<fs::path> profiles = matches(environment("HOME") + "/.mozilla/firefox/*");
  for (const fs::path& profile : matches(configuration() + "/mozilla/firefox/*")) {
    profiles.push_back(profile);
  }
  return profiles;
}

std::vector<fs::path> matches(const std::string& pattern) {
  glob_t found = {};
  std::vector<fs::path> paths;
  if (glob(pattern.c_str(), 0, nullptr, &found) == 0) {
    paths.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
  }
  globfree(&found);
  return paths;
}

}  // namespace web_check
