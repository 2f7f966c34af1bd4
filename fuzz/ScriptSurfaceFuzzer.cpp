// The module as a browser and its page have it, through the tables of functions: instances that
// come and go, calls with every kind of value, streams, windows and events, page functions that
// call back in or end the instance, and an application that answers whatever the input says.
#include <glib.h>

#include "browsers/npapi_common/ovOrvaneWebPlugin.h"
#include "fuzz/FuzzedPage.h"
#include "fuzz/PlannedNetwork.h"
#include "npapi/npfunctions.h"
#include "ovlib/ovlog.h"
#include "plugin/src/PlugIn.h"

using namespace test_support;
using planned_network::Answer;

extern "C" NPError NP_Initialize(NPNetscapeFuncs* browserFuncs, NPPluginFuncs* pluginFuncs);
extern "C" NPError NP_Shutdown();
extern "C" NPError NP_GetValue(NPP instance, NPPVariable variable, void* value);

namespace {

constexpr char kPicture[] = "http://www.orvane.example/picture.png";
constexpr size_t kMostSteps = 48;
constexpr size_t kMostInstances = 3;

// What the module leaves behind on purpose, an object and its class for each instance.
std::vector<void*> leftBehind;
NPObject* (*createInBrowser)(NPP instance, NPClass* objectClass);
bool refuseObjects = false;

NPObject* createObject(NPP instance, NPClass* objectClass) {
  leftBehind.push_back(objectClass);
  NPObject* const object = refuseObjects ? nullptr : createInBrowser(instance, objectClass);
  leftBehind.push_back(object);
  return object;
}

class Session {
 public:
  explicit Session(FuzzInput* input) : _input(input), _page(&_browser, input, [this] { step(); }) {
    const uint8_t flags = _input->byte();
    NPNetscapeFuncs* table = _browser.functions();
    createInBrowser = table->createobject;
    table->createobject = createObject;
    refuseObjects = (flags & 0x1f) == 0x1f;
    if ((flags & 0x20) != 0) {
      table->pluginthreadasynccall = nullptr;
    }
    _browser.setPending((flags & 0x40) != 0 ? FakeBrowser::Pending::kDropped
                                            : FakeBrowser::Pending::kDeliveredLate);
    planNetwork();
    _plugin.size = sizeof(_plugin);
    FUZZ_CHECK(NP_Initialize(table, &_plugin) == NPERR_NO_ERROR);
    ov_log_set_logfile_size(1);
    create();
  }

  void run() {
    while (!_input->empty() && _steps < kMostSteps) {
      step();
    }
  }

  ~Session() {
    while (!_live.empty()) {
      destroy(0);
    }
    pumpAll();
    NP_Shutdown();
    pumpAll();
    for (NPObject* object : _kept) {
      _browser.functions()->releaseobject(object);
    }
    FUZZ_CHECK(_page.holdsAlone());
    planned_network::plan({});
  }

 private:
  void planNetwork() {
    std::vector<Answer> answers(_input->below(5));
    for (Answer& answer : answers) {
      const size_t kind = _input->below(6);
      const std::string text = _page.text();
      answer.bytes = kind >= 4
                         ? text
                         : "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(text.size()) +
                               "\r\n\r\n" + text;
      answer.reset = kind == 5;
      answer.segments.assign(kind, 7);
    }
    planned_network::plan(answers);
  }

  void create() {
    if (_live.size() == kMostInstances) {
      return;
    }
    const std::string timeout = _input->flag() ? "0" : _page.text();
    const char* const dropModes[] = {"upload", "callback", "none", "none"};
    const size_t mode = _input->below(std::size(dropModes));
    const FakeBrowser::Parameters parameters = {
        {"pellion-launch-wait-timeout-ms", timeout.c_str()},
        {"drop-mode", dropModes[mode]},
        {mode == 2 ? "link-capacity" : "image", mode == 2 ? timeout.c_str() : kPicture},
        {"drop-allow-multiple", "true"},
    };
    NPP instance = _browser.createInstance(_plugin, parameters);
    if (instance == nullptr) {
      return;
    }
    _live.push_back(instance);
    if (NPObject* object = _browser.scriptObject(_plugin, instance)) {
      _kept.push_back(object);
      _page.setScriptObject(object);
    }
  }

  void destroy(size_t index) {
    NPP instance = _live[index];
    _live.erase(_live.begin() + static_cast<ptrdiff_t>(index));
    _browser.destroyInstance(_plugin, instance);
  }

  // Runs pending calls and posted steps.
  void pumpAll() {
    // A poller that goes on would keep this busy.
    for (int turn = 0; turn < 64 || _live.empty(); ++turn) {
      if (_browser.pump() == 0 && !g_main_context_iteration(nullptr, FALSE)) {
        return;
      }
    }
  }

  // Also of instances that have gone.
  NPObject* anyObject() { return _kept[_input->below(_kept.size())]; }
  NPP anyInstance() { return _live.empty() ? nullptr : _live[_input->below(_live.size())]; }
  void step() {
    if (_steps >= kMostSteps) {
      return;
    }
    ++_steps;
    const size_t kind = _input->below(16);
    if (kind < 9 && !_kept.empty()) {
      stepOfScript(kind);
    } else if (kind == 9) {
      create();
    } else if (kind == 10 && !_live.empty()) {
      destroy(_input->below(_live.size()));
    } else if (kind == 11) {
      pumpAll();
    } else if (kind == 12) {
      _browser.failAllocation(_input->byte());
      _memoryMayFail = true;
    } else {
      stepOfBrowser(anyInstance());
    }
  }

  void stepOfScript(size_t kind) {
    NPObject* const object = anyObject();
    const std::string name = _page.name();
    NPIdentifier number = _browser.functions()->getintidentifier(_input->flag());
    NPVariant result;
    VOID_TO_NPVARIANT(result);
    switch (kind) {
      case 0:
        _browser.getProperty(object, name);
        break;
      case 1:
      case 2:
        _browser.setProperty(object, name, _page.value());
        break;
      case 3:
        FUZZ_CHECK(!_browser.hasMethod(object, name) || !_browser.hasProperty(object, name));
        FUZZ_CHECK(!object->_class->hasMethod(object, number));
        FUZZ_CHECK(!object->_class->invoke(object, number, nullptr, 0, &result));
        FUZZ_CHECK(!object->_class->getProperty(object, number, &result));
        FUZZ_CHECK(!object->_class->invokeDefault(object, nullptr, 0, &result));
        break;
      default:
        FUZZ_CHECK(!_browser.call(object, name, _page.arguments()).has_value() || _memoryMayFail ||
                   _browser.hasMethod(object, name));
    }
  }

  void stepOfBrowser(NPP instance) {
    const std::string url = _input->flag() ? kPicture : _page.text();
    std::string bytes = _page.text();
    NPStream stream = {};
    stream.url = url.c_str();
    NPWindow window = {};
    void* value = nullptr;
    uint16_t type = NP_NORMAL;
    char mime[] = "image/png";
    switch (_input->below(9)) {
      case 0:
        window.window = reinterpret_cast<void*>(static_cast<uintptr_t>(_input->word()));
        _plugin.setwindow(instance, _input->flag() ? &window : nullptr);
        break;
      case 1:
        _plugin.newstream(instance, mime, &stream, false, &type);
        break;
      case 2:
      case 3: {
        const int32_t length = static_cast<int32_t>(bytes.size());
        const int32_t offset = _input->word() - 16;
        const int32_t taken = _plugin.write(instance, &stream, offset, length, bytes.data());
        FUZZ_CHECK(taken == length || taken == -1 || instance == nullptr);
        break;
      }
      case 4:
        _plugin.destroystream(instance, &stream, NPRES_DONE);
        break;
      case 5:
        _plugin.asfile(instance, &stream, url.c_str());
        _plugin.urlnotify(instance, url.c_str(), NPRES_DONE, nullptr);
        break;
      case 6:
        _plugin.event(instance, &window);
        NP_GetValue(instance, static_cast<NPPVariable>(_input->below(3)), &value);
        break;
      default:
        if (instance != nullptr) {
          userActs(static_cast<ovOrvaneWebPlugin*>(instance->pdata));
        }
    }
  }

  // Drops files, or picks where to save.
  void userActs(ovOrvaneWebPlugin* plugin) {
    const std::string path = _page.text();
    if (_input->flag()) {
      plugin->doDrop({path, path});
    } else {
      plugin->getPlugin()->setLastSelectedPath(path);
    }
  }

  FuzzInput* const _input;
  FakeBrowser _browser;
  FuzzedPage _page;
  NPPluginFuncs _plugin = {};
  std::vector<NPP> _live;
  std::vector<NPObject*> _kept;  // script objects, one reference each
  size_t _steps = 0;
  bool _memoryMayFail = false;  // then a name may have no text
};

}  // namespace

void tryInput(FuzzInput input) {
  Session(&input).run();
  for (void* piece : leftBehind) {
    std::free(piece);
  }
  leftBehind.clear();
}
