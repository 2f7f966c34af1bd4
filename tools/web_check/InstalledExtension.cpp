#include "tools/web_check/InstalledExtension.h"

#include <glib.h>

#include <fstream>
#include <memory>
#include <optional>
#include <sstream>

#include "tools/json/JsonDocument.h"
#include "tools/json/JsonError.h"

namespace fs = std::filesystem;
using json::JsonDocument;
using json::JsonValue;

namespace web_check {

namespace {

constexpr char kChromiumId[] = ORVANE_CHROMIUM_ID;
constexpr char kFirefoxId[] = "orvane-web@orvane.example";

// Nothing when it cannot be read, or is no JSON: the browser does not know of it either.
std::optional<JsonDocument> readJson(const fs::path& path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  try {
    return file ? std::optional<JsonDocument>(text.str()) : std::nullopt;
  } catch (const json::JsonError&) {
    return std::nullopt;
  }
}

std::string textOf(const JsonValue* value) {
  return value != nullptr ? value->text : std::string();
}

// The identity that Chromium makes of a manifest's key.
std::string identityOf(const std::string& key) {
  gsize size = 0;
  const std::unique_ptr<guchar, decltype(&g_free)> bytes(g_base64_decode(key.c_str(), &size),
                                                         g_free);
  const std::unique_ptr<gchar, decltype(&g_free)> digest(
      g_compute_checksum_for_data(G_CHECKSUM_SHA256, bytes.get(), size), g_free);
  std::string identity;
  for (const char* at = digest.get(); identity.size() < 32; ++at) {
    identity += static_cast<char>('a' + g_ascii_xdigit_value(*at));
  }
  return identity;
}

// An extension's directory; nothing when it has another one.
std::optional<InstalledExtension> inDirectory(const Browser& browser, const fs::path& directory) {
  const std::optional<JsonDocument> manifest = readJson(directory / "manifest.json");
  if (!manifest.has_value() ||
      (browser.name == std::string("chromium") &&
       identityOf(textOf(manifest->root().member("key"))) != kChromiumId)) {
    return std::nullopt;
  }
  return InstalledExtension{directory, textOf(manifest->root().member("version"))};
}

// Firefox's list of add-ons.
void addFromFirefox(const fs::path& profile, std::vector<InstalledExtension>* all) {
  const std::optional<JsonDocument> list = readJson(profile / "extensions.json");
  const JsonValue* const addons = list.has_value() ? list->root().member("addons") : nullptr;
  if (addons == nullptr) {
    return;
  }
  for (const JsonValue& addon : addons->items) {
    if (textOf(addon.member("id")) == kFirefoxId) {
      const JsonValue* const active = addon.member("active");
      all->push_back(
          {profile, textOf(addon.member("version")), true, active != nullptr && !active->truth});
    }
  }
}

bool isSwitchedOff(const JsonValue& settings) {
  const JsonValue* const reasons = settings.member("disable_reasons");
  return reasons != nullptr &&
         (reasons->is(JsonValue::Kind::kArray) ? !reasons->items.empty()
                                               : reasons->text != "0" && !reasons->text.empty());
}

// What Chromium keeps of extensions that were loaded or installed. One that the command line names
// has no path there.
void addFromChromium(const Browser& browser, const fs::path& profile,
                     std::vector<InstalledExtension>* all) {
  for (const char* name : {"Preferences", "Secure Preferences"}) {
    const std::optional<JsonDocument> preferences = readJson(profile / name);
    const JsonValue* const settings =
        preferences.has_value()
            ? JsonDocument::find(preferences->root(), {"extensions", "settings", kChromiumId})
            : nullptr;
    const std::string path = settings != nullptr ? textOf(settings->member("path")) : "";
    if (path.empty()) {
      continue;
    }
    const fs::path directory = path[0] == '/' ? fs::path(path) : profile / "Extensions" / path;
    std::optional<InstalledExtension> found = inDirectory(browser, directory);
    if (found.has_value()) {
      found->isProfile = true;
      found->isOff = isSwitchedOff(*settings);
      all->push_back(*found);
    }
  }
}

}  // namespace

std::vector<InstalledExtension> findExtensions(const Browser& browser) {
  std::vector<InstalledExtension> all;
  for (const char* pattern : browser.systemExtensions) {
    for (const fs::path& directory : matches(pattern)) {
      const std::optional<InstalledExtension> found = inDirectory(browser, directory);
      if (found.has_value()) {
        all.push_back(*found);
      }
    }
  }
  for (const fs::path& profile : profilesOf(browser)) {
    browser.name == std::string("firefox") ? addFromFirefox(profile, &all)
                                           : addFromChromium(browser, profile, &all);
  }
  return all;
}

}  // namespace web_check
