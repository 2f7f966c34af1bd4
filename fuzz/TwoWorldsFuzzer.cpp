// What a page does with its elements, once with the module in the fake browser, and once more
// through the messages of the native messaging host: the page is told the same, in the same order.
#include <dlfcn.h>
#include <glib.h>
#include <unistd.h>

#include <cmath>
#include <map>

#include "fuzz/FuzzedPage.h"
#include "fuzz/PlannedNetwork.h"
#include "npapi/npfunctions.h"
#include "tools/json/JsonDocument.h"
#include "tools/json/JsonWriter.h"
#include "tools/web_host/Desktop.h"
#include "tools/web_host/Elements.h"

using namespace test_support;

extern "C" NPError NP_Initialize(NPNetscapeFuncs* browserFuncs, NPPluginFuncs* pluginFuncs);
extern "C" NPError NP_Shutdown();
extern "C" void* __real_dlopen(const char* path, int flags);

namespace {

constexpr size_t kMostSteps = 24;
constexpr size_t kMostElements = 3;
constexpr int kMostTurns = 100'000;
constexpr char kModule[] = "/proc/self/exe";
constexpr char kAgent[] = "FakeBrowser/1.0";

// An operation as the extension writes it, and all that the host is to say about it.
struct Exchange {
  std::string operation;
  std::vector<std::string> told;
};

// Turns the main loop until `done`.
template <typename Done>
void turnUntil(Done done, FakeBrowser* browser = nullptr) {
  for (int turn = 0; !done(); ++turn) {
    FUZZ_CHECK(turn < kMostTurns);
    if ((browser == nullptr || browser->pump() == 0) && !g_main_context_iteration(nullptr, FALSE)) {
      usleep(20);
    }
  }
}

std::string quoted(const std::string& text) {
  return json::JsonWriter().value(text).text();
}

// The page, with the module in the browser itself.
class OldWorld : public FuzzedPage {
 public:
  OldWorld(FakeBrowser* browser, FuzzInput* input)
      : FuzzedPage(browser, input, nullptr), _browser(browser), _input(input) {
    browser->setUserAgent(kAgent);
    _plugin.size = sizeof(_plugin);
    FUZZ_CHECK(NP_Initialize(browser->functions(), &_plugin) == NPERR_NO_ERROR);
  }
  ~OldWorld() override {
    while (!_elements.empty()) {
      end(_elements.begin()->first);
    }
    NP_Shutdown();
    _browser->pump();
    FUZZ_CHECK(holdsAlone());
  }

  Exchange step() {
    _told.clear();
    ++_number;
    _element = 1 + _input->below(kMostElements);
    const size_t kind = _input->below(12);
    std::string members = _elements.count(_element) == 0 ? make()
                          : kind == 0                    ? end(_element)
                          : kind < 4                     ? access(kind == 1)
                                                         : call();
    return {R"({"n":)" + std::to_string(_number) + R"(,"element":)" + std::to_string(_element) +
                "," + members + "}",
            _told};
  }

 private:
  struct Made {
    NPP instance;
    NPObject* object;
  };

  // With what the page says of an object beside its number.
  std::string json(const Value& value, bool toHost) const {
    if (NPObject* const* object = std::get_if<NPObject*>(&value)) {
      const size_t number = numberOf(*object);
      const bool isFunction = toHost && number < kFunctions;
      return R"({"v":"object","id":)" + std::to_string(number + 1) +
             (isFunction ? R"(,"callable":true,"methods":["onDrop"]})" : "}");
    }
    if (const double* number = std::get_if<double>(&value)) {
      return std::isnan(*number) ? R"({"v":"number","text":"NaN"})"
                                 : json::JsonWriter().value(*number).text();
    }
    const bool* truth = std::get_if<bool>(&value);
    const int32_t* number = std::get_if<int32_t>(&value);
    const std::string* text = std::get_if<std::string>(&value);
    return truth != nullptr                            ? (*truth ? "true" : "false")
           : number != nullptr                         ? std::to_string(*number)
           : text != nullptr                           ? quoted(*text)
           : std::get_if<Undefined>(&value) != nullptr ? R"({"v":"undefined"})"
                                                       : "null";
  }
  std::string json(const PageArguments& values, bool toHost) const {
    std::string text = "[";
    for (const Value& value : values) {
      text += (text.size() > 1 ? "," : "") + json(value, toHost);
    }
    return text + "]";
  }

  // What is no UTF-8 does not travel.
  std::string fit(std::string text) const override {
    if (!g_utf8_validate_len(text.data(), text.size(), nullptr)) {
      const auto isForeign = [](char c) { return c < 0; };
      std::replace_if(text.begin(), text.end(), isForeign, '?');
    }
    return text;
  }

  void answer(const std::string& members) {
    _told.push_back(R"({"answer":)" + std::to_string(_number) + members + "}");
  }
  void answer(const std::optional<Value>& value, const char* failed) {
    if (!value.has_value()) {
      answer(std::string(R"(,"refused":true,"text":"Error )") + failed + R"( on NPObject.")");
    } else {
      answer(std::get_if<Undefined>(&*value) != nullptr ? ""
                                                        : R"(,"value":)" + json(*value, false));
    }
  }

  // What the application is asked for again and again comes when it comes.
  std::optional<Value> called(size_t function, const PageArguments& arguments) override {
    if (arguments.empty() || !(arguments[0] == Value(std::string("transfer")))) {
      _told.push_back(R"({"tell":"call","element":)" + std::to_string(_element) + R"(,"object":)" +
                      std::to_string(function + 1) + R"(,"args":)" + json(arguments, false) + "}");
    }
    return Null();
  }

  std::string make() {
    const std::string capacity = upToZero(text());
    NPP instance = _browser->createInstance(
        _plugin, {{"pellion-launch-wait-timeout-ms", "0"}, {"link-capacity", capacity.c_str()}});
    NPWindow area = {nullptr, 0, 0, 1, 1, {}, nullptr, NPWindowTypeDrawable};  // without a display
    _plugin.setwindow(instance, &area);
    _elements[_element] = {instance, _browser->scriptObject(_plugin, instance)};
    answer("");
    return R"("op":"make","width":1,"height":1,"params":[["pellion-launch-wait-timeout-ms","0"],)"
           R"(["link-capacity",)" +
           quoted(capacity) + "]]";
  }

  std::string end(uint64_t element) {
    _browser->functions()->releaseobject(_elements.at(element).object);
    _browser->destroyInstance(_plugin, _elements.at(element).instance);
    _elements.erase(element);
    answer("");
    return R"("op":"end")";
  }

  std::string access(bool reads) {
    NPObject* const object = _elements.at(_element).object;
    const std::string property = name();
    const std::string members = R"(,"name":)" + quoted(property);
    if (reads) {
      const bool there = _browser->hasProperty(object, property);
      answer(there ? _browser->getProperty(object, property) : Undefined(), "");
      return R"("op":"get")" + members;
    }
    const Value given = value();
    const bool done = _browser->setProperty(object, property, given);
    answer(done ? std::optional<Value>(Undefined()) : std::nullopt, "setting property");
    return R"("op":"set")" + members + R"(,"value":)" + json(given, true);
  }

  std::string call() {
    const std::string method = name();
    const PageArguments given = arguments();
    const std::optional<Value> result =
        _browser->call(_elements.at(_element).object, method, given);
    answer(result, "calling method");
    const bool later = contains(method, "Async") && result == Value(Null()) &&
                       std::any_of(given.begin(), given.end(), [this](const Value& each) {
                         NPObject* const* object = std::get_if<NPObject*>(&each);
                         return object != nullptr && numberOf(*object) < kFunctions;
                       });
    const size_t now = _told.size();
    turnUntil([&] { return !later || _told.size() > now; }, _browser);
    return R"("op":"call","name":)" + quoted(method) + R"(,"args":)" + json(given, true);
  }

  FakeBrowser* const _browser;
  FuzzInput* const _input;
  NPPluginFuncs _plugin = {};
  std::map<uint64_t, Made> _elements;
  std::vector<std::string> _told;
  uint64_t _element = 0;  // that is spoken with
  uint64_t _number = 0;
};

// The host's end of the page.
class NewWorld {
 public:
  void check(const Exchange& exchange) {
    const auto operation = web_host::readOperation(json::JsonDocument(exchange.operation).root());
    for (const web_host::Value& value : operation.values) {
      _mentions += value.kind == web_host::Value::Kind::kObject ? 1 : 0;
    }
    _told.clear();
    using Kind = web_host::Operation::Kind;
    _told.push_back(operation.kind == Kind::kMake  ? _elements.make(operation)
                    : operation.kind == Kind::kEnd ? _elements.end(operation)
                    : operation.kind == Kind::kGet ? _elements.get(operation)
                    : operation.kind == Kind::kSet ? _elements.set(operation)
                                                   : _elements.call(operation));
    turnUntil([&] { return _told.size() >= exchange.told.size(); });
    for (size_t i = 0; i < _told.size() && _told != exchange.told; ++i) {
      std::fprintf(stderr, "%s\nhost: %s\nnot:  %s\n", exchange.operation.c_str(), _told[i].c_str(),
                   i < exchange.told.size() ? exchange.told[i].c_str() : "");
    }
    FUZZ_CHECK(_told == exchange.told);
  }

  // Each object is let go of as often as the page has mentioned it.
  void end() {
    _elements.endAll();
    turnUntil([] { return !g_main_context_iteration(nullptr, FALSE); });
    FUZZ_CHECK(_mentions == 0);
  }

 private:
  void hear(const std::string& text) {
    const std::string key = R"("mentions":)";
    if (startsWith(text, R"({"tell":"release")")) {
      _mentions -= std::atoi(text.c_str() + text.find(key) + key.size());
    } else if (!contains(text, R"("args":["transfer")")) {
      _told.push_back(text);
    }
  }

  int _mentions = 0;  // that the host has not settled
  std::vector<std::string> _told;
  web_host::Desktop _desktop;
  web_host::RemotePage _page{
      {"http://www.orvane.example", "http://www.orvane.example/page.html", kAgent, "", ""},
      [this](const std::string& text) { hear(text); },
      [this](const std::string& text) { hear(text); }};
  web_host::Areas _areas{&_desktop, "", [](npapi_host::Owner, bool) {}};
  web_host::Elements _elements{&_page, &_areas};
};

}  // namespace

// The host finds the module in this program.
extern "C" void* __wrap_dlopen(const char* path, int flags) {
  const bool isModule = path != nullptr && std::string(path) == kModule;
  return __real_dlopen(isModule ? nullptr : path, flags);
}

// What the module leaves behind on purpose is many times as much as all else.
extern "C" const char* __asan_default_options() {
  return "detect_leaks=0";
}

void tryInput(FuzzInput input) {
  setenv("ORVANE_WEB_MODULE", kModule, 1);
  const std::string body = input.text();
  const planned_network::Answer answer = {
      "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body, {}};
  planned_network::plan({answer});
  std::vector<Exchange> exchanges;
  {
    FakeBrowser browser;
    OldWorld page(&browser, &input);
    while (!input.empty() && exchanges.size() < kMostSteps) {
      exchanges.push_back(page.step());
    }
  }
  planned_network::plan({answer});
  NewWorld host;
  for (const Exchange& exchange : exchanges) {
    host.check(exchange);
  }
  host.end();
  planned_network::plan({});
}
