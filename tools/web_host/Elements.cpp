#include "tools/web_host/Elements.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "tools/npapi_host/Identifiers.h"
#include "tools/npapi_host/ModuleObject.h"
#include "tools/npapi_host/NpObjects.h"
#include "tools/web_host/Reply.h"

namespace web_host {

using npapi_host::Instance;
using npapi_host::ModuleObject;
using npapi_host::Thrown;
using npapi_host::VariantList;

namespace {

const char kEnded[] = "The element has ended.";
const char kNoModule[] =
    "Orvane Web: the module cannot be loaded. The extension's button says more.";
const char kModuleVariable[] = "ORVANE_WEB_MODULE";

NPIdentifier identifierFor(const std::string& name) {
  return npapi_host::propertyIdentifier(name)->handle();
}

// What a call yielded.
std::string answerOf(uint64_t number, const Thrown& thrown, NPVariant* result) {
  const std::string answer =
      thrown.has_value() ? refusedAnswer(number, *thrown) : valueAnswer(number, *result);
  npapi_host::releaseVariant(result);
  return answer;
}

}  // namespace

std::string Elements::findModule(std::string* error) {
  const char* given = std::getenv(kModuleVariable);
  return npapi_host::Module::find(given != nullptr ? given : "",
                                  std::string("name it with ") + kModuleVariable, error);
}

std::optional<npapi_host::Owner> Elements::areaOf(uint64_t element, std::string* error) const {
  const auto found = _elements.find(element);
  if (found == _elements.end() || found->second.instance == nullptr) {
    *error = found != _elements.end() ? found->second.error : kEnded;
    return std::nullopt;
  }
  if (!found->second.hasArea) {
    *error = "Orvane Web: The element takes no drops, or there is no display.";
    return std::nullopt;
  }
  return found->second.instance->owner();
}

size_t Elements::alive() const {
  return static_cast<size_t>(
      std::count_if(_elements.begin(), _elements.end(),
                    [](const auto& each) { return each.second.instance != nullptr; }));
}

bool Elements::loadModule(std::string* error) {
  if (_host != nullptr) {
    return true;
  }
  const std::string path = findModule(error);
  if (path.empty()) {
    return false;
  }
  auto host = std::make_unique<npapi_host::PluginHost>(_page);
  if (!host->load(path, error) || !host->start(error)) {
    return false;
  }
  _host = std::move(host);
  return true;
}

std::string Elements::make(const Operation& operation) {
  if (_elements.count(operation.element) > 0) {
    return errorAnswer(operation.number, "The element exists already.");
  }
  std::string error;
  if (!loadModule(&error)) {
    _page->complain(error);  // with paths, which are not for pages
    return makeDead(operation, kNoModule);
  }
  npapi_host::Element element;
  element.mimeType = _host->module().mimeType();
  element.params = operation.params;
  element.width = operation.width;
  element.height = operation.height;
  element.windowed = takesDrops(operation.params);
  if (element.windowed) {
    _page->setWindow(_areas->start());
  }
  _page->expect(operation.element);
  const std::shared_ptr<Instance> instance = _host->instances().create(element, &error);
  if (instance == nullptr) {
    return makeDead(operation, "Orvane Web: " + error);
  }
  _page->made(instance->owner(), operation.element);
  _elements[operation.element] = {instance, "", element.windowed && _page->window() != nullptr};
  return doneAnswer(operation.number);
}

std::string Elements::makeDead(const Operation& operation, const std::string& error) {
  if (_elements.count(operation.element) > 0) {
    return errorAnswer(operation.number, "The element exists already.");
  }
  _elements[operation.element] = {nullptr, error, false};
  return errorAnswer(operation.number, error);
}

// `use` gets the element's script object, its arguments and a place for the result, and answers
// what the page throws.
template <typename Use>
std::string Elements::use(const Operation& operation, Use use) {
  const auto found = _elements.find(operation.element);
  const std::shared_ptr<Instance> instance =
      found != _elements.end() ? found->second.instance : nullptr;
  NPObject* object = instance != nullptr ? instance->scriptObject() : nullptr;
  if (object == nullptr) {
    for (const Value& value : operation.values) {
      _page->drop(value);
    }
    return errorAnswer(operation.number, found != _elements.end() && !found->second.error.empty()
                                             ? found->second.error
                                             : kEnded);
  }
  VariantList values(operation.values.size());
  for (size_t i = 0; i < operation.values.size(); ++i) {
    _page->toVariant(operation.values[i], instance->owner(), &values[i]);
  }
  NPVariant result;
  VOID_TO_NPVARIANT(result);
  const Thrown thrown = use(ModuleObject(object), values, &result);
  return answerOf(operation.number, thrown, &result);
}

std::string Elements::call(const Operation& operation) {
  return use(operation, [&](ModuleObject object, const VariantList& values, NPVariant* result) {
    return object.invoke(identifierFor(operation.name), values.data(), values.size(), result);
  });
}

std::string Elements::get(const Operation& operation) {
  return use(operation, [&](ModuleObject object, const VariantList&, NPVariant* result) {
    const NPIdentifier name = identifierFor(operation.name);
    return object.hasProperty(name) ? object.get(name, result) : Thrown();
  });
}

std::string Elements::set(const Operation& operation) {
  return use(operation, [&](ModuleObject object, const VariantList& values, NPVariant*) {
    return object.set(identifierFor(operation.name), *values.data());
  });
}

std::string Elements::end(const Operation& operation) {
  const auto found = _elements.find(operation.element);
  if (found == _elements.end()) {
    return errorAnswer(operation.number, kEnded);
  }
  const std::shared_ptr<Instance> instance = found->second.instance;
  _elements.erase(found);
  if (instance != nullptr) {
    _host->instances().end(instance);
  }
  return doneAnswer(operation.number);
}

void Elements::endAll() {
  _elements.clear();
  if (_host != nullptr) {
    _host->endInstances();
  }
}

}  // namespace web_host
