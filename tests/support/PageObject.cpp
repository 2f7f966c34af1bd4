#include "tests/support/PageObject.h"

#include "tests/support/FakeBrowser.h"

namespace test_support {

namespace {

PageObject* pageObject(NPObject* object) {
  return static_cast<PageObject*>(object);
}

template <typename Value>
const Value* find(const std::map<std::string, Value>& values, NPIdentifier identifier) {
  const auto found = values.find(FakeBrowser::current().nameOf(identifier));
  return found == values.end() ? nullptr : &found->second;
}

bool store(const std::optional<PageValue>& value, NPVariant* result) {
  if (value && !std::holds_alternative<Untouched>(*value)) {
    *result = FakeBrowser::current().makeVariant(*value);
  }
  return value.has_value();
}

PageArguments collect(const NPVariant* args, uint32_t argCount) {
  PageArguments arguments;
  for (uint32_t i = 0; i < argCount; ++i) {
    arguments.push_back(toPageValue(args[i]));
  }
  return arguments;
}

}  // namespace

NPClass* PageObject::objectClass() {
  static NPClass record = {
      NP_CLASS_STRUCT_VERSION,
      [](NPP, NPClass*) -> NPObject* { return new PageObject(); },
      [](NPObject* object) { delete pageObject(object); },
      nullptr,
      [](NPObject* object, NPIdentifier name) {
        return find(pageObject(object)->methods, name) != nullptr;
      },
      [](NPObject* object, NPIdentifier name, const NPVariant* args, uint32_t argCount,
         NPVariant* result) {
        const PageFunction* method = find(pageObject(object)->methods, name);
        return method != nullptr && store((*method)(collect(args, argCount)), result);
      },
      [](NPObject* object, const NPVariant* args, uint32_t argCount, NPVariant* result) {
        PageObject* callee = pageObject(object);
        if (!callee->function) {
          return false;
        }
        callee->callRecord.push_back(collect(args, argCount));
        return store(callee->function(callee->callRecord.back()), result);
      },
      [](NPObject* object, NPIdentifier name) {
        return find(pageObject(object)->properties, name) != nullptr;
      },
      [](NPObject* object, NPIdentifier name, NPVariant* result) {
        const PageValue* value = find(pageObject(object)->properties, name);
        return value != nullptr && store(*value, result);
      },
      nullptr,
      nullptr,
      nullptr,
      nullptr};
  return &record;
}

PageValue toPageValue(const NPVariant& variant) {
  switch (variant.type) {
    case NPVariantType_Null:
      return Null();
    case NPVariantType_Bool:
      return NPVARIANT_TO_BOOLEAN(variant);
    case NPVariantType_Int32:
      return NPVARIANT_TO_INT32(variant);
    case NPVariantType_Double:
      return NPVARIANT_TO_DOUBLE(variant);
    case NPVariantType_String:
      return std::string(NPVARIANT_TO_STRING(variant).UTF8Characters,
                         NPVARIANT_TO_STRING(variant).UTF8Length);
    case NPVariantType_Object:
      return NPVARIANT_TO_OBJECT(variant);
    default:
      return Undefined();
  }
}

}  // namespace test_support
