// Json with its look-ups, and the check of a body from the page, over texts of any depth.
#include "fuzz/FuzzInput.h"
#include "plugin/src/Json.h"
#include "plugin/src/PlugIn.h"

using namespace Pellion::Web;

namespace {

// Five parts, the second and the fourth up to 16,384 times: what is nested can be nested deep.
std::string readDocument(FuzzInput* input) {
  const uint8_t repeats = input->byte();
  const size_t count = repeats < 250 ? 1 : size_t{512} << (repeats - 250);
  std::string document = input->text();
  for (int i = 0; i < 2; ++i) {
    const std::string part = input->text();
    const size_t end = document.size() + 65536;
    for (size_t copies = 0; copies < count && document.size() < end; ++copies) {
      document += part;
    }
    document += input->text();
  }
  return document;
}

// How many arrays and objects stand in each other.
int depthOf(yajl_val node) {
  const bool isArray = YAJL_IS_ARRAY(node);
  if (!isArray && !YAJL_IS_OBJECT(node)) {
    return 0;
  }
  yajl_val* const values = isArray ? node->u.array.values : node->u.object.values;
  const size_t count = isArray ? node->u.array.len : node->u.object.len;
  int deepest = 0;
  for (size_t i = 0; i < count; ++i) {
    deepest = std::max(deepest, depthOf(values[i]));
  }
  return deepest + 1;
}

void checkValue(const Json& json, const char* const* path, yajl_val node = nullptr) {
  const yajl_val value = json.get(path, node);
  const std::string text = json.getString(path, node);
  FUZZ_CHECK(json.isTrue(path, node) == YAJL_IS_TRUE(value));
  FUZZ_CHECK(text == (YAJL_IS_STRING(value)   ? value->u.string
                      : YAJL_IS_NUMBER(value) ? value->u.number.r
                                              : ""));
  FUZZ_CHECK(!YAJL_IS_NUMBER(value) || !text.empty());
}

void checkLookUps(const Json& json, FuzzInput* input) {
  const std::string keys[] = {input->text(), input->text(), input->text()};
  const char* const path[] = {keys[0].c_str(), keys[1].c_str(), keys[2].c_str(), nullptr};
  const char* const first[] = {path[0], nullptr};
  const char* const second[] = {path[0], path[1], nullptr};
  for (const auto each : std::initializer_list<const char* const*>{path + 3, first, second, path}) {
    checkValue(json, each);
  }
  if (const yajl_val below = json.get(first)) {
    checkValue(json, path + 1, below);
    FUZZ_CHECK(json.get(path + 1, below) == json.get(path));
  }
  const char* const error[] = {"error", nullptr};
  FUZZ_CHECK(json.containsError() == (json.get(error) != nullptr));
}

void checkBody(const std::string& body, bool parses, FuzzInput* input) {
  static PlugIn& core = *new PlugIn;
  const std::string picked = input->text();
  core.setHostname(input->text());
  core.setLastSelectedPath(picked);
  const std::string refusal = core.isJsonValid(body);
  FUZZ_CHECK(refusal.empty() || startsWith(refusal, "{\"error\":{\"code\":-1,\"user_message\":\""));
  FUZZ_CHECK(parses || !refusal.empty());
  // A pick serves one transfer, and a refusal leaves it.
  const bool picks = core.allowDestRoot(picked);
  FUZZ_CHECK(picks || picked.empty() || refusal.empty());
  const std::string second = core.isJsonValid(body);
  FUZZ_CHECK(picks || picked.empty()
                 ? second == refusal
                 : second.empty() || contains(second, "unauthorized directory"));
  core.setLastSelectedPath("");
}

}  // namespace

void tryInput(FuzzInput input) {
  const std::string text = readDocument(&input);
  Json json;
  const bool parses = json.parse(text);
  FUZZ_CHECK(parses == (json.getNode() != nullptr));
  FUZZ_CHECK(json.err().size() < 1024);
  FUZZ_CHECK(depthOf(json.getNode()) <= 10000);
  checkLookUps(json, &input);
  checkBody(text, parses, &input);
  FUZZ_CHECK(json.parse(text) == parses && !(json.parse("{") || json.getNode() != nullptr));
}
