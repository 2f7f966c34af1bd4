#include "os/src/DialogUtils.h"

#include <algorithm>
#include <stdexcept>

#include "os/src/GlibGuards.h"
#include "plugin/src/Constants.h"
#include "plugin/src/Json.h"

namespace Pellion::Web::DialogUtils {

namespace {

void require(bool condition) {
  if (!condition) {
    throw std::runtime_error(kErrorInvalidFileTypesJson);
  }
}

std::string requireText(yajl_val node) {
  require(Json::isString(node));
  return Json::text(node);
}

FileType toFileType(const Json& json, yajl_val entry) {
  require(Json::isObject(entry));
  const char* const namePath[] = {"filter_name", nullptr};
  const char* const extensionsPath[] = {"extensions", nullptr};
  FileType type;
  type._filterName = requireText(json.get(namePath, entry));
  const yajl_val extensions = json.get(extensionsPath, entry);
  require(Json::size(extensions) > 0);
  for (size_t i = 0; i < Json::size(extensions); ++i) {
    type._extensions.push_back(requireText(Json::element(extensions, i)));
  }
  return type;
}

}  // namespace

std::vector<FileType> parseFileTypesJson(const std::string& text) {
  std::vector<FileType> types;
  if (text.empty()) {
    return types;
  }
  Json json;
  require(json.parse(text) && Json::isArray(json.getNode()));
  for (size_t i = 0; i < Json::size(json.getNode()); ++i) {
    types.push_back(toFileType(json, Json::element(json.getNode(), i)));
  }
  return types;
}

void gtk_file_chooser_add_filetypes(GtkFileChooser* chooser,
                                    const std::vector<FileType>& fileTypes) {
  for (const FileType& type : fileTypes) {
    if (type._extensions.empty() || type._filterName.empty()) {
      continue;
    }
    GtkFileFilter* made = gtk_file_filter_new();
    const GObjectRef<GtkFileFilter> filter(GTK_FILE_FILTER(g_object_ref_sink(made)));
    gtk_file_filter_set_name(filter.get(), toValidUtf8(type._filterName).c_str());
    for (const std::string& extension : type._extensions) {
      gtk_file_filter_add_pattern(filter.get(), toValidUtf8("*." + extension).c_str());
    }
    gtk_file_chooser_add_filter(chooser, filter.get());
  }
}

int findExtension(const std::vector<FileType>& fileTypes, const std::string& extension) {
  for (size_t i = 0; i < fileTypes.size(); ++i) {
    const auto& extensions = fileTypes[i]._extensions;
    if (std::find(extensions.begin(), extensions.end(), extension) != extensions.end()) {
      return static_cast<int>(i);
    }
  }
  return -1;
}

std::string toValidUtf8(const std::string& text) {
  const GFreePtr<gchar> valid(g_utf8_make_valid(text.c_str(), -1));
  return valid.get();
}

}  // namespace Pellion::Web::DialogUtils
