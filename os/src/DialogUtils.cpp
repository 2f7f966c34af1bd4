#include "os/src/DialogUtils.h"

#include <yajl/yajl_tree.h>

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

yajl_val requireMember(yajl_val object, const char* key, yajl_type type) {
  const char* path[] = {key, nullptr};
  yajl_val value = yajl_tree_get(object, path, type);
  require(value != nullptr);
  return value;
}

FileType toFileType(yajl_val entry) {
  require(YAJL_IS_OBJECT(entry));
  FileType type;
  type._filterName = YAJL_GET_STRING(requireMember(entry, "filter_name", yajl_t_string));
  const auto* extensions = YAJL_GET_ARRAY(requireMember(entry, "extensions", yajl_t_array));
  require(extensions->len > 0);
  for (size_t i = 0; i < extensions->len; ++i) {
    require(YAJL_IS_STRING(extensions->values[i]));
    type._extensions.emplace_back(YAJL_GET_STRING(extensions->values[i]));
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
  require(json.parse(text) && YAJL_IS_ARRAY(json.getNode()));
  const auto* entries = YAJL_GET_ARRAY(json.getNode());
  for (size_t i = 0; i < entries->len; ++i) {
    types.push_back(toFileType(entries->values[i]));
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
