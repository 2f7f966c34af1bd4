#ifndef TOOLS_WEB_CHECK_INSTALLED_EXTENSION_H_
#define TOOLS_WEB_CHECK_INSTALLED_EXTENSION_H_

#include <string>
#include <vector>

#include "tools/web_check/Browser.h"

namespace web_check {

// The extension at one place where the browser finds it.
struct InstalledExtension {
  std::string place;
  std::string version;
  bool isProfile = false;  // what the browser noted of it when it last ran
  bool isOff = false;      // by the user, or by the browser
};

// All places, the system's first. Reads what the browser has written; starts nothing.
std::vector<InstalledExtension> findExtensions(const Browser& browser);

}  // namespace web_check

#endif  // TOOLS_WEB_CHECK_INSTALLED_EXTENSION_H_
