// The page's list of file types: refused, or read so that it can be written and read again.
#include <glib.h>

#include <stdexcept>

#include "fuzz/FuzzInput.h"
#include "os/src/DialogUtils.h"
#include "plugin/src/Constants.h"

using namespace Pellion::Web;

namespace {

std::string quoted(const std::string& text) {
  std::string json = "\"";
  for (const char c : text) {
    char escape[8];
    std::snprintf(escape, sizeof(escape), "\\u%04x", static_cast<unsigned char>(c));
    json += (c > 0 && c < ' ') || c == '"' || c == '\\' ? escape : std::string(1, c);
  }
  return json + "\"";
}

std::string written(const std::vector<FileType>& types) {
  std::string json;
  for (const FileType& type : types) {
    std::string extensions;
    for (const std::string& extension : type._extensions) {
      extensions += (extensions.empty() ? "" : ",") + quoted(extension);
    }
    json += (json.empty() ? "" : ",") + ("{\"filter_name\":" + quoted(type._filterName)) +
            ",\"extensions\":[" + extensions + "]}";
  }
  return "[" + json + "]";
}

void checkTypes(const std::vector<FileType>& types) {
  const std::vector<FileType> again = DialogUtils::parseFileTypesJson(written(types));
  FUZZ_CHECK(again.size() == types.size());
  for (size_t i = 0; i < types.size(); ++i) {
    FUZZ_CHECK(again[i]._filterName == types[i]._filterName);
    FUZZ_CHECK(again[i]._extensions == types[i]._extensions && !types[i]._extensions.empty());
    const int found = DialogUtils::findExtension(types, types[i]._extensions.back());
    FUZZ_CHECK(found >= 0 && found <= static_cast<int>(i));
  }
}

}  // namespace

void tryInput(FuzzInput input) {
  std::vector<FileType> types;
  try {
    types = DialogUtils::parseFileTypesJson(input.whole());
  } catch (const std::runtime_error& e) {
    FUZZ_CHECK(e.what() == std::string(kErrorInvalidFileTypesJson));
  }
  checkTypes(types);
  const std::string text = upToZero(input.whole());
  const std::string valid = DialogUtils::toValidUtf8(input.whole());
  FUZZ_CHECK(g_utf8_validate(valid.c_str(), -1, nullptr));
  FUZZ_CHECK(DialogUtils::toValidUtf8(valid) == valid);
  FUZZ_CHECK(valid == text || !g_utf8_validate(text.c_str(), -1, nullptr));
}
