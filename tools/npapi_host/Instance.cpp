#include "tools/npapi_host/Instance.h"

#include <glib.h>

#include <algorithm>

#include "tools/npapi_host/Address.h"
#include "tools/npapi_host/NpObjects.h"
#include "tools/npapi_host/PageObject.h"
#include "tools/npapi_host/PageSide.h"
#include "tools/npapi_host/Stream.h"
#include "tools/npapi_host/WindowLink.h"

namespace npapi_host {

Instance::Instance(const InstanceServices& services, NPP npp, Owner owner)
    : _services(services), _npp(npp), _owner(owner) {}

Instance::~Instance() = default;

bool Instance::start(const Element& element, std::string* error) {
  const std::shared_ptr<Instance> self = shared_from_this();
  const NPError code = createNative(element);
  if (code != NPERR_NO_ERROR) {
    _state = State::kEnded;
    _services.objects->releaseOwner(_owner);
    *error = "the module refused to make an instance (error " + std::to_string(code) + ")";
    return false;
  }
  _state = State::kAlive;
  giveWindow(element);
  takeScriptObject();
  return true;
}

NPError Instance::createNative(const Element& element) {
  NameValues all = element.params;
  if (std::none_of(all.begin(), all.end(), [](const auto& each) { return each.first == "type"; })) {
    all.insert(all.begin(), {"type", element.mimeType});
  }
  std::vector<char*> names;
  std::vector<char*> values;
  for (auto& param : all) {
    names.push_back(param.first.data());
    values.push_back(param.second.data());
  }
  std::string type = element.mimeType;
  return _services.plugin->newp(type.data(), _npp, NP_EMBED, static_cast<int16_t>(all.size()),
                                names.data(), values.data(), nullptr);
}

// Without a window the plugin's area exists only as a size, as in engines that paint nothing.
void Instance::giveWindow(const Element& element) {
  _window.width = static_cast<uint32_t>(element.width);
  _window.height = static_cast<uint32_t>(element.height);
  _window.clipRect = {0, 0, static_cast<uint16_t>(element.height),
                      static_cast<uint16_t>(element.width)};
  _window.type = NPWindowTypeDrawable;
  WindowLink* window = element.windowed ? _services.page->window() : nullptr;
  if (window != nullptr) {
    const unsigned long area = window->addArea(_owner, element.width, element.height);
    WindowLink::describeScreen(&_windowSystem);
    _window.window = reinterpret_cast<void*>(area);
    _window.ws_info = &_windowSystem;
    _window.type = NPWindowTypeWindow;
  }
  if (_services.plugin->setwindow != nullptr) {
    _services.plugin->setwindow(_npp, &_window);
  }
}

// As browsers do when an instance is about to end.
void Instance::takeWindow() {
  const NPWindowType type = _window.type;
  _window = NPWindow{};
  _window.type = type;
  if (_services.plugin->setwindow != nullptr) {
    _services.plugin->setwindow(_npp, &_window);
  }
}

void Instance::takeScriptObject() {
  NPObject* object = nullptr;
  if (_services.plugin->getvalue != nullptr) {
    _services.plugin->getvalue(_npp, NPPVpluginScriptableNPObject, &object);
  }
  _scriptObject = object;
}

void Instance::end() {
  if (_state != State::kAlive) {
    return;
  }
  const std::shared_ptr<Instance> self = shared_from_this();
  _state = State::kEnding;
  const std::vector<std::shared_ptr<Stream>> streams = _streams;
  for (const auto& stream : streams) {
    stream->close(NPRES_USER_BREAK);
  }
  takeWindow();
  NPSavedData* saved = nullptr;
  _services.plugin->destroy(_npp, &saved);
  if (saved != nullptr) {
    freeMemory(saved->buf);
    freeMemory(saved);
  }
  while (!_timers.empty()) {
    unscheduleTimer(_timers.begin()->first);
  }
  _state = State::kEnded;
  releaseNpObject(_scriptObject);
  _scriptObject = nullptr;
  _services.page->instanceEnded(_owner);
  _services.objects->releaseOwner(_owner);
  if (WindowLink* window = _services.page->window()) {
    window->removeArea(_owner);
  }
}

NPError Instance::fetch(const std::string& address, bool notify, void* notifyData) {
  if (_state != State::kAlive && _state != State::kCreating) {
    return NPERR_INVALID_INSTANCE_ERROR;
  }
  const std::string absolute = resolveAddress(address, _services.page->baseAddress());
  const std::string scheme = schemeOf(absolute);
  if ((scheme != "file" && scheme != "data" && scheme != "http" && scheme != "https") ||
      !_services.page->mayFetch(absolute)) {
    return NPERR_INVALID_URL;
  }
  auto stream = std::make_shared<Stream>(shared_from_this(), absolute);
  if (notify) {
    stream->notifyWith(address, notifyData);
  }
  _streams.push_back(stream);
  stream->begin();
  return NPERR_NO_ERROR;
}

void Instance::forgetStream(const Stream* stream) {
  _streams.erase(std::remove_if(_streams.begin(), _streams.end(),
                                [stream](const auto& each) { return each.get() == stream; }),
                 _streams.end());
}

namespace {

struct TimerCall {
  std::weak_ptr<Instance> instance;
  uint32_t timer;
  bool repeat;
  void (*function)(NPP, uint32_t);
};

gboolean callTimer(gpointer data) {
  const TimerCall call = *static_cast<TimerCall*>(data);
  const std::shared_ptr<Instance> instance = call.instance.lock();
  if (instance == nullptr) {
    return G_SOURCE_REMOVE;
  }
  call.function(instance->npp(), call.timer);
  if (!call.repeat) {
    instance->unscheduleTimer(call.timer);
  }
  return G_SOURCE_CONTINUE;  // unscheduling removes the source
}

void freeTimerCall(gpointer data) {
  delete static_cast<TimerCall*>(data);
}

}  // namespace

uint32_t Instance::scheduleTimer(uint32_t interval, bool repeat, void (*function)(NPP, uint32_t)) {
  const uint32_t timer = ++_lastTimer;
  TimerCall* call = new TimerCall{weak_from_this(), timer, repeat, function};
  _timers[timer] = g_timeout_add_full(G_PRIORITY_DEFAULT, interval, callTimer, call, freeTimerCall);
  return timer;
}

void Instance::unscheduleTimer(uint32_t timer) {
  const auto it = _timers.find(timer);
  if (it != _timers.end()) {
    const unsigned source = it->second;
    _timers.erase(it);
    g_source_remove(source);
  }
}

}  // namespace npapi_host
