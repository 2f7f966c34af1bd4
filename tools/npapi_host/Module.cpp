#include "tools/npapi_host/Module.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include "tools/npapi_host/Text.h"

namespace fs = std::filesystem;

namespace npapi_host {
namespace {

const char kFileName[] = "nporvaneweb.so";
const char kSystem[] = "/usr/lib/mozilla/plugins";

// Beside the program, where an installation or a build tree puts the module, and where browsers
// look.
std::vector<fs::path> searchDirectories() {
  std::error_code ignored;
  const fs::path program = fs::read_symlink("/proc/self/exe", ignored).parent_path();
  std::vector<fs::path> directories = {program, program / "../lib",
                                       program / "../../browsers/npapi_linux"};
  if (const char* path = std::getenv("MOZ_PLUGIN_PATH")) {
    // An empty entry would be the directory that the program was started in.
    for (const std::string& entry : colonSeparated(path)) {
      directories.emplace_back(entry);
    }
  }
  if (const char* home = std::getenv("HOME")) {
    directories.push_back(fs::path(home) / ".mozilla/plugins");
  }
  const fs::path prefix = (program / ".." / ORVANE_PLUGIN_DIRECTORY).lexically_normal();
  if (prefix != kSystem) {
    directories.push_back(prefix);
  }
  directories.emplace_back(kSystem);
  return directories;
}

}  // namespace

std::string Module::find(const std::string& given, const std::string& advice, std::string* error) {
  std::error_code ignored;
  if (!given.empty()) {
    if (fs::is_regular_file(given, ignored)) {
      return fs::absolute(given);
    }
    *error = "there is no module " + given;
    return std::string();
  }
  std::string searched;
  for (const fs::path& directory : searchDirectories()) {
    const fs::path file = (directory / kFileName).lexically_normal();
    if (fs::is_regular_file(file, ignored)) {
      return file;
    }
    searched += "\n  " + file.parent_path().string();
  }
  *error = std::string(kFileName) + " is in none of these directories (" + advice + "):" + searched;
  return std::string();
}

Module::~Module() {
  stop();
  if (_library != nullptr) {
    dlclose(_library);
  }
}

template <typename Function>
bool Module::resolve(const char* symbol, Function* function) const {
  *function = reinterpret_cast<Function>(dlsym(_library, symbol));
  return *function != nullptr;
}

bool Module::load(const std::string& path, std::string* error) {
  // cppcheck-suppress publicAllocationError ; a module is loaded once
  _library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (_library == nullptr) {
    *error = std::string("the module cannot be loaded: ") + dlerror();
    return false;
  }
  NPError (*getValue)(NPP, NPPVariable, void*) = nullptr;
  const char* (*getMimeDescription)() = nullptr;
  const char* text = nullptr;
  if (resolve("NP_GetValue", &getValue) &&
      getValue(nullptr, NPPVpluginNameString, &text) == NPERR_NO_ERROR && text != nullptr) {
    _name = text;
  }
  const char* description =
      resolve("NP_GetMIMEDescription", &getMimeDescription) ? getMimeDescription() : nullptr;
  if (description == nullptr || *description == '\0') {
    *error = path + " is no plugin module: it names no MIME type";
    return false;
  }
  _mimeType = description;
  _mimeType.erase(std::min(_mimeType.find_first_of(":;"), _mimeType.size()));
  return true;
}

bool Module::start(NPNetscapeFuncs* browser, std::string* error) {
  NPError (*initialize)(NPNetscapeFuncs*, NPPluginFuncs*) = nullptr;
  if (!resolve("NP_Initialize", &initialize)) {
    *error = "the module exports no NP_Initialize";
    return false;
  }
  _functions.size = sizeof(_functions);
  _functions.version = (NP_VERSION_MAJOR << 8) + NP_VERSION_MINOR;
  NPError code = initialize(browser, &_functions);
  NPError (*getEntryPoints)(NPPluginFuncs*) = nullptr;
  if (code == NPERR_NO_ERROR && resolve("NP_GetEntryPoints", &getEntryPoints)) {
    code = getEntryPoints(&_functions);
  }
  _started = code == NPERR_NO_ERROR;
  if (!_started) {
    *error = "the module refused to start (error " + std::to_string(code) + ")";
  } else if (_functions.newp == nullptr || _functions.destroy == nullptr) {
    *error = "the module makes no instances";
    return false;
  }
  return _started;
}

void Module::stop() {
  if (!_started) {
    return;
  }
  _started = false;
  NPError (*shutdown)() = nullptr;
  if (resolve("NP_Shutdown", &shutdown)) {
    shutdown();
  }
}

}  // namespace npapi_host
