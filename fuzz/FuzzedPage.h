#ifndef FUZZ_FUZZED_PAGE_H_
#define FUZZ_FUZZED_PAGE_H_

#include <functional>
#include <iterator>
#include <limits>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "fuzz/FuzzInput.h"
#include "tests/support/FakeBrowser.h"

inline std::vector<std::string> wordsOf(const std::string& text) {
  std::istringstream words(text);
  return {std::istream_iterator<std::string>(words), {}};
}

// A page whose values and functions come from the input: every type of variant, and functions that
// return one, throw, leave the result alone, or run further steps of the input inside the call.
class FuzzedPage {
 public:
  using Value = test_support::PageValue;

  // All borrowed; must outlive the page's last call. `step` runs one step of the input.
  FuzzedPage(test_support::FakeBrowser* browser, FuzzInput* input, std::function<void()> step)
      : _input(input), _step(std::move(step)) {
    for (size_t i = 0; i < kFunctions; ++i) {
      _objects.push_back(
          browser->newFunction([this, i](const auto& arguments) { return called(i, arguments); }));
    }
    _objects.push_back(browser->newObject());
    _objects.front()->setMethod("onDrop", [this](const auto&) { return react(); });
  }
  virtual ~FuzzedPage() = default;
  FuzzedPage(const FuzzedPage&) = delete;
  FuzzedPage& operator=(const FuzzedPage&) = delete;

  // A plugin's script object, for the page to hand about.
  void setScriptObject(NPObject* object) { _scriptObject = object; }

  std::string text() {
    const uint8_t kind = _input->byte();
    if (kind < 128) {
      return kTexts[kind % kTexts.size()];
    }
    std::string text = _input->text();
    if (kind > 250 && !text.empty()) {
      text.append(size_t{64} << (kind - 251) * 2, text.front());
    }
    return fit(text);
  }

  // A member of the script object's, or nearly one.
  std::string name() {
    const size_t index = _input->below(kNames.size() + 1);
    return index < kNames.size() ? kNames[index] : fit(_input->text());
  }

  Value value() {
    switch (_input->below(12)) {
      case 0:
        return test_support::Undefined();
      case 1:
        return test_support::Null();
      case 2:
        return _input->flag();
      case 3:
        return static_cast<int32_t>(_input->word() << 16 | _input->word());
      case 4:
        // The low half of this one's bytes reads as the word for a string.
        return _input->flag() ? 2.4703282292062327e-323 : std::numeric_limits<double>::quiet_NaN();
      case 5:
      case 6:
        return static_cast<NPObject*>(_objects[_input->below(_objects.size())]);
      case 7:
        return _scriptObject != nullptr ? Value(_scriptObject) : Value(test_support::Null());
      default:
        return text();
    }
  }

  test_support::PageArguments arguments() {
    test_support::PageArguments arguments(_input->below(6));
    std::generate(arguments.begin(), arguments.end(), [this] { return value(); });
    return arguments;
  }

  // True when nobody else has kept one of the page's objects.
  bool holdsAlone() const {
    return std::all_of(_objects.begin(), _objects.end(),
                       [](const NPObject* object) { return object->referenceCount == 1; });
  }

 protected:
  // What becomes of each text before the page uses it.
  virtual std::string fit(std::string text) const { return text; }

  static constexpr size_t kFunctions = 3;  // the first ones of the page's objects

  // The module calls the function of that number.
  virtual std::optional<Value> called(size_t /*function*/, const test_support::PageArguments&) {
    return react();
  }
  size_t numberOf(const NPObject* object) const {
    return static_cast<size_t>(std::find(_objects.begin(), _objects.end(), object) -
                               _objects.begin());
  }

 private:
  static constexpr int kDeepestCall = 4;
  inline static const std::vector<std::string> kNames = wordsOf(
      "addToDownloadList addToUploadList clearDownloadList clearUploadList pellionHttpRequest "
      "pellionHttpRequestAsync displayAboutWindow handleDrop initSession queryPellionVersion "
      "runOpenFileDialog runOpenFileDialogAsync runOpenFolderDialog runOpenFolderDialogAsync "
      "runSaveFileDialog runSaveFileDialogAsync startDownload startDownloadToPath startUploadToURL "
      "startListDownloadToPath startListUploadToURL queryVersion name dropObserver eventHandler "
      "displayTransferManager displayPreferencesWindow queryBrowserEngine queryBuildVersion "
      "queryPluginVersion nothing");
  inline static const std::vector<std::string> kTexts = wordsOf(
      "true false GET POST /v4/transfers/start {} ^www.orvane.example ^elsewhere.example "
      "/home/u/pick /home/u/pick/below file:///home/u/a %s%n%% "
      R"({"orvane_pellion_settings":{"app_id":"^www.orvane.example"}} )"
      R"({"transfer_specs":[{"transfer_spec":{"direction":"receive",)"
      R"("destination_root":"/home/u/pick"},)"
      R"("orvane_pellion_settings":{"use_absolute_destination_path":true}}]} )"
      R"([{"filter_name":"Images","extensions":["png"]}])");

  std::optional<Value> react() {
    const size_t kind = _input->below(8);
    if (kind < 4 && _depth < kDeepestCall) {
      ++_depth;
      for (size_t steps = kind; steps > 0; --steps) {
        _step();
      }
      --_depth;
    }
    if (kind == 4) {
      return std::nullopt;
    }
    return kind == 5 ? Value(test_support::Untouched()) : value();
  }

  FuzzInput* const _input;
  const std::function<void()> _step;
  std::vector<test_support::PageObject*> _objects;
  NPObject* _scriptObject = nullptr;
  int _depth = 0;
};

#endif  // FUZZ_FUZZED_PAGE_H_
