#include "tools/web_check/BrowserChecks.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>

#include "tools/json/JsonDocument.h"
#include "tools/json/JsonError.h"
#include "tools/web_check/BoundedChild.h"
#include "tools/web_check/Browser.h"
#include "tools/web_check/Handshake.h"
#include "tools/web_check/InstalledExtension.h"

namespace fs = std::filesystem;
using json::JsonDocument;
using json::JsonValue;

namespace web_check {

namespace {

constexpr char kVersion[] = ORVANE_VERSION;
constexpr char kHostName[] = "example.orvane.web_host";
constexpr char kInstall[] = "install the package orvane-web-extension of this version";
constexpr char kRegister[] = "orvane-web-register";
constexpr int kRegisterMs = 5000;

std::string sandboxWarning(const Browser& browser, const std::string& sandboxes) {
  return "there is " + sandboxes + ", in a sandbox: " + browser.sandbox;
}

Finding checkProgram(Context* context) {
  const Browser& browser = *context->browser;
  const std::string program = programOf(browser);
  const std::string sandboxes = sandboxesOf(browser);
  if (program.empty()) {
    return Finding::failed(
        sandboxes.empty() ? std::string("there is no ") + browser.programs[0] + " in PATH"
                          : sandboxWarning(browser, sandboxes),
        std::string("install the package ") +
            (browser.name == std::string("firefox") ? "firefox-esr" : "chromium"));
  }
  return sandboxes.empty() ? Finding::ok(program)
                           : Finding::warning(program + "; " + sandboxWarning(browser, sandboxes),
                                              "start " + program + " for pages that use it");
}

Finding checkExtension(Context* context) {
  const Browser& browser = *context->browser;
  const std::vector<InstalledExtension> all = findExtensions(browser);
  if (all.empty()) {
    return Finding::failed(
        std::string("neither the system's directories nor your profiles have "
                    "the extension"),
        kInstall + std::string(", or run ") + kRegister + ", which says how to load it");
  }
  std::string places;
  for (const InstalledExtension& each : all) {
    if (each.isOff) {
      return Finding::failed("it is switched off in " + each.place, browser.switchOn);
    }
    if (each.version != kVersion) {
      return Finding::failed(
          "version " + quote(each.version) + " instead of " + kVersion + " in " + each.place,
          each.isProfile ? std::string("end ") + browser.title + ", and start it again" : kInstall);
    }
    places += (places.empty() ? "" : ", ") + each.place;
  }
  return Finding::ok(std::string("version ") + kVersion + " in " + places);
}

// The program that makes the user's manifest lies beside this one.
std::string registerProgram() {
  std::error_code ignored;
  const fs::path program = fs::read_symlink("/proc/self/exe", ignored).parent_path() / kRegister;
  return access(program.c_str(), X_OK) == 0 ? program.string() : std::string();
}

// Empty when the manifest was made; else why not.
std::string makeManifest(const Browser& browser) {
  const std::string program = registerProgram();
  if (program.empty()) {
    return std::string("there is no ") + kRegister + " beside this program";
  }
  const ChildResult child = runBounded(
      [&](int output) {
        dup2(output, STDOUT_FILENO);
        dup2(output, STDERR_FILENO);
        execl(program.c_str(), program.c_str(), "--browser", browser.name, nullptr);
        _exit(127);
      },
      kRegisterMs);
  return child.waitStatus == 0 ? std::string() : "it cannot be made: " + quote(child.output);
}

bool lists(const JsonValue* callers, const char* caller) {
  return callers != nullptr &&
         std::any_of(callers->items.begin(), callers->items.end(),
                     [caller](const JsonValue& each) { return each.text == caller; });
}

bool hasText(const JsonValue& manifest, const char* name, const std::string& text) {
  const JsonValue* const member = manifest.member(name);
  return member != nullptr && member->is(JsonValue::Kind::kString) && member->text == text;
}

// What is wrong with a manifest; empty, with the host's path, when nothing is.
std::string faultOf(const Browser& browser, const fs::path& path, std::string* host) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  if (!file) {
    return "it cannot be read";
  }
  try {
    const JsonDocument document(text.str());
    const JsonValue& manifest = document.root();
    *host = JsonDocument::string(manifest, {"path"}).value_or("");
    return !hasText(manifest, "name", kHostName)   ? std::string("its name is not ") + kHostName
           : !hasText(manifest, "type", "stdio")   ? std::string("its type is not stdio")
           : host->empty() || host->front() != '/' ? "its path " + quote(*host) + " is not absolute"
           : !lists(manifest.member(browser.allowed), browser.caller)
               ? std::string("its ") + browser.allowed + " lack " + browser.caller
               : std::string();
  } catch (const json::JsonError& error) {
    return std::string("it is no manifest: ") + error.what();
  }
}

// The first of the directories that has one decides.
fs::path findManifest(const Browser& browser) {
  std::error_code ignored;
  for (const fs::path& directory : manifestDirectories(browser)) {
    const fs::path path = directory / (std::string(kHostName) + ".json");
    if (fs::exists(fs::symlink_status(path, ignored))) {
      return path;
    }
  }
  return fs::path();
}

Finding checkManifest(Context* context) {
  const Browser& browser = *context->browser;
  const fs::path own = manifestDirectories(browser).front();
  fs::path path = findManifest(browser);
  std::string fault = path.empty() ? "" : faultOf(browser, path, &context->hostPath);
  const bool isOwn = path.empty() || path.parent_path() == own;
  std::string made;
  if (context->fix && isOwn && (path.empty() || !fault.empty())) {
    const std::string failure = makeManifest(browser);
    if (!failure.empty()) {
      return Finding::failed("no native messaging manifest that is right; " + failure, kInstall);
    }
    made = "created ";
    path = findManifest(browser);
    fault = faultOf(browser, path, &context->hostPath);
  }
  context->manifestPath = path;
  const std::string remedy =
      isOwn ? "run orvane-web-check --fix, which makes yours, or " + std::string(kInstall)
            : std::string("install the package orvane-web-extension anew");
  if (path.empty()) {
    return Finding::failed("there is no " + std::string(kHostName) + ".json where " +
                               browser.title + " looks, as in " + own.string(),
                           remedy);
  }
  return fault.empty() ? Finding::ok(made + path.string())
                       : Finding::failed(path.string() + ": " + fault, remedy);
}

Finding checkHost(Context* context) {
  const std::string& host = context->hostPath;
  std::error_code ignored;
  if (!fs::is_regular_file(host, ignored) || access(host.c_str(), X_OK) != 0) {
    return Finding::failed(host + (fs::exists(host, ignored) ? " cannot be run" : " is not there") +
                               ", though " + context->manifestPath + " names it",
                           kInstall + std::string(", or remove that file"));
  }
  context->handshake = shakeHands(*context->browser, host, context->manifestPath);
  if (!context->handshake.error.empty()) {
    return Finding::failed(host + ": " + context->handshake.error, kInstall);
  }
  return context->handshake.version == kVersion
             ? Finding::ok(host + " answers, version " + kVersion)
             : Finding::failed(host + " is of version " + quote(context->handshake.version) +
                                   " instead of " + kVersion,
                               kInstall);
}

Finding checkHostModule(Context* context) {
  const Handshake& handshake = context->handshake;
  if (!handshake.moduleError.empty()) {
    return Finding::failed(std::regex_replace(handshake.moduleError, std::regex("\\s*\n\\s*"), " "),
                           "install the package orvane-web");
  }
  return handshake.modulePath.empty()
             ? Finding::warning("the host does not tell which module it takes", kInstall)
             : Finding::ok("the host takes " + handshake.modulePath);
}

Finding checkSites(Context* context) {
  const std::string complaints = siteComplaints(context->hostPath);
  return complaints.empty()
             ? Finding::ok("the lists of allowed and denied sites can be read")
             : Finding::warning(quote(complaints),
                                "correct that line or file; what is broken counts for nothing");
}

}  // namespace

const std::vector<Check>& browserChecks() {
  static const std::vector<Check> kChecks = {
      {"program", nullptr, checkProgram},       {"extension", "program", checkExtension},
      {"manifest", "program", checkManifest},   {"host", "manifest", checkHost},
      {"host-module", "host", checkHostModule}, {"sites", "host", checkSites},
  };
  return kChecks;
}

bool isInstalled(const Browser& browser) {
  return !programOf(browser).empty() || !sandboxesOf(browser).empty();
}

bool isPrepared(const Browser& browser) {
  std::string host;
  std::error_code ignored;
  const fs::path manifest = findManifest(browser);
  return !findExtensions(browser).empty() ||
         (!manifest.empty() && faultOf(browser, manifest, &host).empty() &&
          fs::is_regular_file(host, ignored));
}

}  // namespace web_check
