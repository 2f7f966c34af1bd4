#include "tools/web_host/RemotePage.h"

#include <algorithm>
#include <utility>

#include "tools/npapi_host/MainLoop.h"
#include "tools/npapi_host/NpObjects.h"
#include "tools/npapi_host/PluginHost.h"
#include "tools/web_host/Picture.h"
#include "tools/web_host/Reply.h"

namespace web_host {

using npapi_host::Identifier;
using npapi_host::Owner;
using npapi_host::PageCall;
using npapi_host::PageRef;

namespace {

// No page's numbers.
const PageRef kWindow = kLargestNumber + 1;
const PageRef kLocation = kLargestNumber + 2;

bool isOurs(PageRef object) {
  return object > kLargestNumber;
}

// Steps that were posted look here; null once the page is over.
RemotePage* thePage = nullptr;

NPObject* objectFor(PageRef ref, Owner owner) {
  return npapi_host::PluginHost::current().objects().objectFor(ref, owner);
}

bool startsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

}  // namespace

std::map<std::string, std::string> locationOf(const std::string& address,
                                              const std::string& origin) {
  std::map<std::string, std::string> location = {{"href", address}, {"origin", origin}};
  const size_t hash = std::min(address.find('#'), address.size());
  const size_t query = std::min(address.find('?'), hash);
  location["hash"] = address.size() - hash > 1 ? address.substr(hash) : "";
  location["search"] = hash - query > 1 ? address.substr(query, hash - query) : "";
  const size_t colon = std::min(address.find(':'), query);
  location["protocol"] = address.substr(0, colon) + ":";
  size_t path = std::min(colon + 1, query);
  std::string host;
  if (address.compare(path, 2, "//") == 0) {
    const size_t end = std::min(address.find('/', path + 2), query);
    host = address.substr(path + 2, end - path - 2);
    path = end;
  }
  location["pathname"] = address.substr(path, query - path);
  host.erase(0, host.rfind('@') + 1);
  location["host"] = host;
  const size_t bracket = host.rfind(']');  // of an IPv6 address
  const size_t split = host.find(':', bracket == std::string::npos ? 0 : bracket);
  location["hostname"] = host.substr(0, split);
  location["port"] = split == std::string::npos ? "" : host.substr(split + 1);
  return location;
}

RemotePage::RemotePage(const Hello& hello, Send send, Send sendSoon)
    : _hello(hello),
      _send(std::move(send)),
      _sendSoon(std::move(sendSoon)),
      _location(locationOf(hello.address, hello.origin)) {
  thePage = this;
}

RemotePage::~RemotePage() {
  thePage = nullptr;
}

void RemotePage::toVariant(const Value& value, Owner owner, NPVariant* variant) {
  switch (value.kind) {
    case Value::Kind::kUndefined:
      VOID_TO_NPVARIANT(*variant);
      return;
    case Value::Kind::kNull:
      NULL_TO_NPVARIANT(*variant);
      return;
    case Value::Kind::kBoolean:
      BOOLEAN_TO_NPVARIANT(value.truth, *variant);
      return;
    case Value::Kind::kNumber:
      DOUBLE_TO_NPVARIANT(value.number, *variant);
      return;
    case Value::Kind::kString:
      npapi_host::makeStringVariant(value.text.data(), value.text.size(), variant);
      return;
    case Value::Kind::kObject:
      mention(value);
      OBJECT_TO_NPVARIANT(objectFor(value.id, owner), *variant);
      return;
  }
}

void RemotePage::drop(const Value& value) {
  if (value.kind == Value::Kind::kObject) {
    mention(value);
    releaseLater(value.id);
  }
}

void RemotePage::mention(const Value& value) {
  Known& known = _objects[value.id];
  ++known.mentions;
  known.callable = value.callable;
  known.methods = value.methods;
}

void RemotePage::hold(PageRef object) {
  if (!isOurs(object)) {
    ++_objects[object].holds;
  }
}

void RemotePage::letGo(PageRef object) {
  if (!isOurs(object) && --_objects[object].holds == 0) {
    releaseLater(object);
  }
}

// What is being answered may still name the object.
void RemotePage::releaseLater(uint64_t object) {
  npapi_host::MainLoop::post([object] {
    if (thePage != nullptr) {
      thePage->releaseUnused(object);
    }
  });
}

void RemotePage::releaseUnused(uint64_t object) {
  const auto found = _objects.find(object);
  if (found != _objects.end() && found->second.holds == 0) {
    _sendSoon(releaseTell(object, found->second.mentions));
    _objects.erase(found);
  }
}

void RemotePage::instanceEnded(Owner owner) {
  _elements.erase(owner);
  _pictures.erase(owner);
}

NPObject* RemotePage::windowObject(Owner owner) {
  return objectFor(kWindow, owner);
}

bool RemotePage::hasMethod(PageRef object, const Identifier& name) {
  const auto found = _objects.find(object);
  if (found == _objects.end()) {
    return false;
  }
  const std::vector<std::string>& methods = found->second.methods;
  return std::find(methods.begin(), methods.end(), name.name) != methods.end();
}

bool RemotePage::hasProperty(PageRef object, const Identifier& name) {
  return (object == kWindow && name.name == "location") ||
         (object == kLocation && _location.count(name.name) > 0) || hasMethod(object, name);
}

bool RemotePage::get(PageRef object, const Identifier& name, Owner owner, NPVariant* result) {
  if (object == kWindow && name.name == "location") {
    OBJECT_TO_NPVARIANT(objectFor(kLocation, owner), *result);
    return true;
  }
  const auto found = object == kLocation ? _location.find(name.name) : _location.end();
  if (found == _location.end()) {
    return false;
  }
  npapi_host::makeStringVariant(found->second.data(), found->second.size(), result);
  return true;
}

bool RemotePage::call(const PageCall& call, NPVariant*) {
  const auto found = _objects.find(call.object);
  if (found == _objects.end() ||
      (call.method == nullptr ? !found->second.callable : !hasMethod(call.object, *call.method))) {
    return false;
  }
  const std::string* method = call.method != nullptr ? &call.method->name : nullptr;
  _send(callTell({elementOf(call.owner), call.object, method, call.args, call.argCount}));
  return true;
}

uint64_t RemotePage::elementOf(Owner owner) const {
  const auto found = _elements.find(owner);
  return found != _elements.end() ? found->second : _expected;
}

// A page from elsewhere has no file of this machine read.
bool RemotePage::mayFetch(const std::string& address) {
  return !startsWith(address, "file:") || _hello.origin == "file://";
}

std::string RemotePage::baseAddress() {
  return startsWith(_hello.address, "about:") ? _hello.origin + "/" : _hello.address;
}

// One byte more than allowed is enough to tell that it is too large.
void RemotePage::streamTaken(Owner owner, const char* bytes, size_t size) {
  std::string& picture = _pictures[owner];
  picture.append(bytes, std::min(size, Picture::kMostBytes + 1 - picture.size()));
}

void RemotePage::streamEnded(Owner owner) {
  const auto found = _pictures.find(owner);
  if (found == _pictures.end()) {
    return;
  }
  const std::string bytes = std::move(found->second);
  _pictures.erase(found);
  try {
    const std::optional<Picture> picture = readPicture(bytes);
    if (picture.has_value()) {
      _send(pictureTell(elementOf(owner), *picture));
    }
  } catch (const PictureError& error) {
    complain(error.what());
  }
}

void RemotePage::complain(const std::string& text) {
  _send(sayTell(text));
}

}  // namespace web_host
