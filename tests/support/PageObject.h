#ifndef TESTS_SUPPORT_PAGE_OBJECT_H_
#define TESTS_SUPPORT_PAGE_OBJECT_H_

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "npapi/npruntime.h"

namespace test_support {

struct Undefined {
  bool operator==(const Undefined&) const { return true; }
};
struct Null {
  bool operator==(const Null&) const { return true; }
};
// Stands for a result that the page's engine leaves as the caller had it, while it answers success.
struct Untouched {
  bool operator==(const Untouched&) const { return true; }
};

// A script value on the page's side. An object in it is borrowed.
using PageValue =
    std::variant<Undefined, Null, bool, int32_t, double, std::string, NPObject*, Untouched>;
using PageArguments = std::vector<PageValue>;
// A function of the page; no value means that the call fails (a script exception).
using PageFunction = std::function<std::optional<PageValue>(const PageArguments& arguments)>;

// A script object of the page: properties, methods, and an own function when it is callable. Made
// by FakeBrowser::newObject and newFunction; freed when its last reference goes.
class PageObject : public NPObject {
 public:
  void set(const std::string& name, PageValue value) { properties[name] = std::move(value); }
  void setMethod(const std::string& name, PageFunction method) {
    methods[name] = std::move(method);
  }
  // The arguments of every call of this object as a function, in order.
  const std::vector<PageArguments>& calls() const { return callRecord; }

  static NPClass* objectClass();

  std::map<std::string, PageValue> properties;
  std::map<std::string, PageFunction> methods;
  PageFunction function;
  std::vector<PageArguments> callRecord;
};

// The page's value of a variant; the variant keeps what it holds.
PageValue toPageValue(const NPVariant& variant);

}  // namespace test_support

#endif  // TESTS_SUPPORT_PAGE_OBJECT_H_
