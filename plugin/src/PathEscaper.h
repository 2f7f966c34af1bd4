#ifndef PLUGIN_SRC_PATHESCAPER_H_
#define PLUGIN_SRC_PATHESCAPER_H_

#include <string>
#include <vector>

namespace Pellion::Web {

// File paths as the texts that page script and the local application read. Byte by byte, and no
// more than each operation says: this is no general JSON or URL escaping.
class PathEscaper {
 public:
  PathEscaper() = delete;

  // Joined with ':'; a backslash stands before each backslash and colon of a path.
  static std::string toColonSeparatedStr(const std::vector<std::string>& paths);
  // A JSON array of the paths, without blanks.
  static std::string toJsonStr(const std::vector<std::string>& paths);
  // Doubles backslashes, nothing else; in double quotes when `quote`.
  static std::string toJsonStr(const std::string& path, bool quote);
  // Every `from` becomes `to`, from left to right; what was inserted is not searched again.
  static std::string strReplace(const std::string& text, const std::string& from,
                                const std::string& to);
  // "file://" and the path with '/' for each backslash; nothing is percent-encoded.
  static std::string toFileUrl(const std::string& path);
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_PATHESCAPER_H_
