#ifndef TOOLS_WEB_HOST_DROPPED_FILES_H_
#define TOOLS_WEB_HOST_DROPPED_FILES_H_

#include <cstddef>
#include <string>
#include <vector>

namespace web_host {

// The files in a list of the type text/uri-list, and what else it names.
class DroppedFiles {
 public:
  explicit DroppedFiles(const std::string& uris);

  // Of the files.
  size_t count() const { return _names.size(); }
  // All that the list names, as it was given: what is no local file is the module's to refuse.
  std::string list() const;
  // Whether these are the files' own names, as a browser shows them, in whatever order. In it, what
  // is no UTF-8 stands as U+FFFD.
  bool haveNames(std::vector<std::string> names) const;

 private:
  std::vector<std::string> _uris;
  std::vector<std::string> _names;
};

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_DROPPED_FILES_H_
