#include "tools/json/JsonDocument.h"

#include <yajl/yajl_parse.h>

#include <memory>
#include <utility>
#include <vector>

#include "tools/json/JsonError.h"

namespace json {

namespace {

using Kind = JsonValue::Kind;

// Builds the tree from the parser's events; each answers 0 to stop it.
class TreeBuilder {
 public:
  int add(Kind kind, std::string text = std::string(), bool truth = false) {
    if (++_count > JsonDocument::kMostValues) {
      return refuse("The JSON holds more than " + std::to_string(JsonDocument::kMostValues) +
                    " values");
    }
    _last = _open.empty() ? &_root : &_open.back()->items.emplace_back();
    _last->kind = kind;
    _last->truth = truth;
    _last->text = std::move(text);
    _last->name = std::move(_name);
    _name.clear();
    return 1;
  }

  int open(Kind kind) {
    // The tree is freed by recursion.
    if (_open.size() == JsonDocument::kDeepestNesting) {
      return refuse("The JSON is nested deeper than " +
                    std::to_string(JsonDocument::kDeepestNesting) + " levels");
    }
    if (add(kind) == 0) {
      return 0;
    }
    _open.push_back(_last);
    return 1;
  }

  int close() {
    _open.pop_back();
    return 1;
  }

  int name(std::string text) {
    _name = std::move(text);
    return 1;
  }

  const std::string& refusal() const { return _refusal; }
  JsonValue takeRoot() { return std::move(_root); }

 private:
  int refuse(std::string text) {
    _refusal = std::move(text);
    return 0;
  }

  JsonValue _root;
  std::vector<JsonValue*> _open;  // none moves before it is closed
  JsonValue* _last = nullptr;
  std::string _name;
  size_t _count = 0;
  std::string _refusal;
};

TreeBuilder& builder(void* context) {
  return *static_cast<TreeBuilder*>(context);
}

std::string copy(const unsigned char* text, size_t length) {
  return std::string(reinterpret_cast<const char*>(text), length);
}

const yajl_callbacks kEvents = {
    [](void* context) { return builder(context).add(Kind::kNull); },
    [](void* context, int truth) { return builder(context).add(Kind::kBoolean, "", truth != 0); },
    nullptr,
    nullptr,
    [](void* context, const char* text, size_t length) {
      return builder(context).add(Kind::kNumber, std::string(text, length));
    },
    [](void* context, const unsigned char* text, size_t length) {
      return builder(context).add(Kind::kString, copy(text, length));
    },
    [](void* context) { return builder(context).open(Kind::kObject); },
    [](void* context, const unsigned char* text, size_t length) {
      return builder(context).name(copy(text, length));
    },
    [](void* context) { return builder(context).close(); },
    [](void* context) { return builder(context).open(Kind::kArray); },
    [](void* context) { return builder(context).close(); }};

std::string pathText(JsonDocument::Path path) {
  std::string text;
  for (const char* key : path) {
    text += (text.empty() ? "" : ".") + std::string(key);
  }
  return text;
}

}  // namespace

JsonDocument::JsonDocument(const std::string& text) {
  if (text.find('\0') != std::string::npos) {
    throw JsonError("The text is not valid JSON: it holds a zero byte");
  }
  TreeBuilder tree;
  const std::unique_ptr<yajl_handle_t, decltype(&yajl_free)> parser(
      yajl_alloc(&kEvents, nullptr, &tree), yajl_free);
  yajl_config(parser.get(), yajl_allow_comments, 1);
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  yajl_status status = yajl_parse(parser.get(), bytes, text.size());
  if (status == yajl_status_ok) {
    status = yajl_complete_parse(parser.get());
  }
  if (status == yajl_status_client_canceled) {
    throw JsonError(tree.refusal());
  }
  if (status != yajl_status_ok) {
    unsigned char* reason = yajl_get_error(parser.get(), 1, bytes, text.size());
    const std::string told = reinterpret_cast<const char*>(reason);
    yajl_free_error(parser.get(), reason);
    throw JsonError("The text is not valid JSON: " + told);
  }
  _root = tree.takeRoot();
}

const JsonValue* JsonDocument::find(const JsonValue& node, Path path) {
  const JsonValue* found = &node;
  for (const char* key : path) {
    found = found != nullptr ? found->member(key) : nullptr;
  }
  return found;
}

std::optional<std::string> JsonDocument::string(const JsonValue& node, Path path) {
  const JsonValue* value = find(node, path);
  if (value == nullptr || value->is(Kind::kNull)) {
    return std::nullopt;
  }
  if (!value->is(Kind::kNumber) && !value->is(Kind::kString)) {
    throw JsonError(pathText(path) + " must be a string");
  }
  return value->text;
}

bool JsonDocument::boolean(const JsonValue& node, Path path) {
  const JsonValue* value = find(node, path);
  if (value != nullptr && !value->is(Kind::kBoolean)) {
    throw JsonError(pathText(path) + " must be true or false");
  }
  return value != nullptr && value->truth;
}

}  // namespace json
