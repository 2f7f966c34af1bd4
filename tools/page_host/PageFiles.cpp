#include <cstring>
#include <filesystem>
#include <vector>

#include "tools/npapi_host/RegularFile.h"
#include "tools/page_host/Page.h"
#include "tools/page_host/PageGlobals.h"

namespace fs = std::filesystem;

namespace page_host {
namespace {

using npapi_host::RegularFile;

// What readFile() gives to a script at most.
constexpr int64_t kMaxText = 256 << 20;
constexpr size_t kPieceSize = 1 << 16;

// False when the file cannot be read to its end.
bool readText(const RegularFile& file, std::string* text) {
  std::vector<char> buffer(kPieceSize);
  ssize_t count = 0;
  while (static_cast<int64_t>(text->size()) <= kMaxText &&
         (count = file.read(buffer.data(), buffer.size())) > 0) {
    text->append(buffer.data(), static_cast<size_t>(count));
  }
  return count >= 0;
}

bool sameBytes(const RegularFile& a, const RegularFile& b) {
  std::vector<char> buffers[2] = {std::vector<char>(kPieceSize), std::vector<char>(kPieceSize)};
  ssize_t count;
  do {
    count = a.read(buffers[0].data(), kPieceSize);
    if (count != b.read(buffers[1].data(), kPieceSize) || count < 0 ||
        std::memcmp(buffers[0].data(), buffers[1].data(), static_cast<size_t>(count)) != 0) {
      return false;
    }
  } while (count > 0);
  return true;
}

JSValueRef exists(JSContextRef context, JSObjectRef, JSObjectRef, size_t count,
                  const JSValueRef values[], JSValueRef*) {
  std::error_code ignored;
  return JSValueMakeBoolean(context,
                            fs::exists(Arguments{context, count, values}.text(0), ignored));
}

JSValueRef fileSize(JSContextRef context, JSObjectRef, JSObjectRef, size_t count,
                    const JSValueRef values[], JSValueRef* exception) {
  const std::string path = Arguments{context, count, values}.text(0);
  std::error_code error;
  const auto size = fs::file_size(path, error);
  if (error) {
    return throwError(context, "cannot read " + path + ": " + error.message(), exception);
  }
  return JSValueMakeNumber(context, static_cast<double>(size));
}

JSValueRef readFile(JSContextRef context, JSObjectRef, JSObjectRef, size_t count,
                    const JSValueRef values[], JSValueRef* exception) {
  const std::string path = Arguments{context, count, values}.text(0);
  const RegularFile file(path);
  std::string text;
  if (!file.isOpen() || !readText(file, &text)) {
    return throwError(context, "cannot read " + path, exception);
  }
  if (static_cast<int64_t>(text.size()) > kMaxText) {
    return throwError(context, "cannot read " + path + ": it is larger than 256 MiB", exception);
  }
  return Page::current().engine().makeString(text);
}

JSValueRef sameFiles(JSContextRef context, JSObjectRef, JSObjectRef, size_t count,
                     const JSValueRef values[], JSValueRef* exception) {
  const Arguments args = {context, count, values};
  const RegularFile files[2] = {RegularFile(args.text(0)), RegularFile(args.text(1))};
  for (size_t i = 0; i < 2; ++i) {
    if (!files[i].isOpen()) {
      return throwError(context, "cannot read " + args.text(i), exception);
    }
  }
  return JSValueMakeBoolean(context, sameBytes(files[0], files[1]));
}

}  // namespace

void definePageFiles(Page* page, JSObjectRef object) {
  const ScriptEngine& engine = page->engine();
  engine.setFunction(object, "exists", exists);
  engine.setFunction(object, "fileSize", fileSize);
  engine.setFunction(object, "readFile", readFile);
  engine.setFunction(object, "sameFiles", sameFiles);
}

}  // namespace page_host
