#ifndef PELLION_SIMULATOR_JSON_DOCUMENT_H_
#define PELLION_SIMULATOR_JSON_DOCUMENT_H_

#include <yajl/yajl_tree.h>

#include <initializer_list>
#include <memory>
#include <optional>
#include <string>

namespace pellion_simulator {

// A JSON document that a client sent. The look-ups take a path of object keys below `node` (null:
// below the root).
class JsonDocument {
 public:
  // Throws ApiError (400) with the parser's reason.
  explicit JsonDocument(const std::string& text);

  yajl_val root() const { return _root.get(); }

  using Path = std::initializer_list<const char*>;
  // Null when missing.
  static yajl_val find(yajl_val node, Path path);
  // The text of a string; a number as it is written; nothing when missing or null. Throws ApiError
  // (400) for any other type.
  static std::optional<std::string> string(yajl_val node, Path path);
  // False when missing. Throws ApiError (400) when it is no boolean.
  static bool boolean(yajl_val node, Path path);

 private:
  struct TreeFree {
    void operator()(yajl_val root) const { yajl_tree_free(root); }
  };
  std::unique_ptr<yajl_val_s, TreeFree> _root;
};

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_JSON_DOCUMENT_H_
