#ifndef PLUGIN_SRC_JSON_H_
#define PLUGIN_SRC_JSON_H_

#include <yajl/yajl_tree.h>

#include <exception>
#include <string>

namespace Pellion::Web {

// One parsed JSON document with path look-ups, and the maker of the error document in which
// failures reach page script. An object is used by one thread; the error documents may be made on
// any.
//
// A path is a list of object keys ended by a null entry. It starts at `node`, or at the root when
// `node` is null. Returned nodes are borrowed and live until the next parse.
class Json {
 public:
  Json() = default;
  ~Json();
  Json(const Json&) = delete;
  Json& operator=(const Json&) = delete;

  // Replaces the document. False, with err() set and no document, when `text` is no JSON or is
  // nested deeper than 10,000 levels.
  bool parse(const std::string& text);
  // The parser's message after a failed parse.
  std::string err() const { return _errorBuffer; }
  // The root; null when there is no document.
  yajl_val getNode() const { return _node; }

  // Null when there is no such value.
  yajl_val get(const char* const* path, yajl_val node = nullptr) const;
  // True for the literal true only.
  bool isTrue(const char* const* path, yajl_val node = nullptr) const;
  // text() of what stands there.
  std::string getString(const char* const* path, yajl_val node = nullptr) const;
  // What a node is; false for null.
  static bool isArray(yajl_val node);
  static bool isObject(yajl_val node);
  static bool isString(yajl_val node);
  // How many elements an array has; 0 for any other node. `index` is below that.
  static size_t size(yajl_val node);
  static yajl_val element(yajl_val array, size_t index);
  // A string's text, or a number exactly as written; empty for anything else.
  static std::string text(yajl_val node);
  // True when the root has a member "error", of whatever type.
  bool containsError() const;

  // The error document. The message stands in it as it is, unescaped.
  static std::string createError(const std::string& message);
  static std::string createError(const std::exception& exception);
  static std::string createError(const std::exception& exception, const std::string& context);
  // The same; the message is also written to the log.
  static std::string createErrorAndLog(const std::string& message);
  static std::string createErrorAndLog(const std::exception& exception);
  static std::string createErrorAndLog(const std::exception& exception, const std::string& context);

 private:
  void freeNode();

  yajl_val _node = nullptr;  // owned
  char _errorBuffer[1024] = {};
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_JSON_H_
