#ifndef PLUGIN_SRC_FILESYSTEM_H_
#define PLUGIN_SRC_FILESYSTEM_H_

#include <string>

namespace Pellion::Web {

// The per-user paths that plugin and local application share. Each is computed at its first use and
// then stays for the life of the module, whatever becomes of HOME. Any thread. Without a home
// directory all but pluginPath() throw a runtime error, and try again at the next call.
class FileSystem {
 public:
  FileSystem() = delete;

  // The home directory, with a slash at its end.
  static const std::string& appDataPath();
  // The local application's data directory, without a slash at its end.
  static const std::string& pellionAppDataPath();
  static const std::string& logPath();
  // Always empty on Linux.
  static const std::string& pluginPath();
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_FILESYSTEM_H_
