#include "tools/web_host/DroppedFiles.h"

#include <glib.h>

#include <algorithm>

namespace web_host {
namespace {

std::string taken(char* text) {
  const std::string copy = text;
  g_free(text);
  return copy;
}

std::string validName(const std::string& name) {
  return taken(g_utf8_make_valid(name.data(), static_cast<gssize>(name.size())));
}

}  // namespace

DroppedFiles::DroppedFiles(const std::string& uris) {
  char** lines = g_uri_list_extract_uris(uris.c_str());
  for (char** line = lines; *line != nullptr; ++line) {
    _uris.emplace_back(*line);
    char* path = g_filename_from_uri(*line, nullptr, nullptr);
    if (path != nullptr) {
      _names.push_back(validName(taken(g_path_get_basename(path))));
      g_free(path);
    }
  }
  g_strfreev(lines);
  std::sort(_names.begin(), _names.end());
}

std::string DroppedFiles::list() const {
  std::string list;
  for (const std::string& uri : _uris) {
    list += uri + "\r\n";
  }
  return list;
}

bool DroppedFiles::haveNames(std::vector<std::string> names) const {
  std::sort(names.begin(), names.end());
  return names == _names;
}

}  // namespace web_host
