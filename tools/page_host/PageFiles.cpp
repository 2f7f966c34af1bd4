#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tools/page_host/Page.h"
#include "tools/page_host/PageGlobals.h"

namespace fs = std::filesystem;

namespace page_host {
namespace {

bool openFile(const std::string& path, std::ifstream* file) {
  std::error_code ignored;
  file->open(path, std::ios::binary);
  return file->is_open() && fs::is_regular_file(path, ignored);
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
  std::ifstream file;
  if (!openFile(path, &file)) {
    return throwError(context, "cannot read " + path, exception);
  }
  return Page::current().engine().makeString(std::string(std::istreambuf_iterator<char>(file), {}));
}

JSValueRef sameFiles(JSContextRef context, JSObjectRef, JSObjectRef, size_t count,
                     const JSValueRef values[], JSValueRef* exception) {
  const Arguments args = {context, count, values};
  std::ifstream files[2];
  for (size_t i = 0; i < 2; ++i) {
    if (!openFile(args.text(i), &files[i])) {
      return throwError(context, "cannot read " + args.text(i), exception);
    }
  }
  const std::istreambuf_iterator<char> end;
  return JSValueMakeBoolean(context, std::equal(std::istreambuf_iterator<char>(files[0]), end,
                                                std::istreambuf_iterator<char>(files[1]), end));
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
