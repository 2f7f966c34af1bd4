// The browser's side gone wrong: no memory, wrong arguments, huge texts, and page functions that do
// what they like.

#include <algorithm>
#include <cstring>
#include <limits>
#include <sstream>
#include <utility>

#include "browsers/npapi_common/EventHandler.h"
#include "tests/browsers/PluginFixture.h"

namespace {

using namespace test_support;

// The sanitizers make each byte some ten times as dear, and keep memory for a while.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr size_t kHugeText = 8u << 20;
constexpr bool kSanitized = true;
#else
constexpr size_t kHugeText = 64u << 20;
constexpr bool kSanitized = false;
#endif
constexpr int kInstances = 10000;

// A method of the script object, and what it takes: 's' a text, 't' one that is not empty, 'b' a
// boolean or its word, 'o' an object; '-' nothing; after '+' anything.
struct ScriptMethod {
  std::string name;
  std::string takes;
  bool takesMore = false;
};

const std::vector<ScriptMethod> kScriptMethods = [] {
  std::istringstream words(
      "addToDownloadList t addToUploadList t clearDownloadList - clearUploadList - "
      "displayAboutWindow - displayPreferencesWindow - displayTransferManager - handleDrop - "
      "initSession ss+ pellionHttpRequest sss+ pellionHttpRequestAsync ssso+ "
      "queryBrowserEngine - queryBuildVersion - queryPellionVersion - queryPluginVersion - "
      "queryVersion - runOpenFileDialog bb runOpenFileDialogAsync sbso runOpenFolderDialog b "
      "runOpenFolderDialogAsync sbo runSaveFileDialog s runSaveFileDialogAsync ssso "
      "startDownload t startDownloadToPath ts startListDownloadToPath s startListUploadToURL t "
      "startUploadToURL tt");
  std::vector<ScriptMethod> methods;
  for (ScriptMethod method; words >> method.name >> method.takes;) {
    method.takesMore = method.takes.back() == '+';
    if (method.takesMore || method.takes == "-") {
      method.takes.pop_back();
    }
    methods.push_back(method);
  }
  return methods;
}();

class BrowserFaults : public PluginSandbox {
 protected:
  BrowserFaults() {
    unsetenv("DISPLAY");
    serve(R"({"a":1})");
  }

  void createWithView() {
    create({{"drop-mode", "callback"}});
    NPWindow window = {};
    plugin->setWindow(&window, instance);
  }
  // Fitting ones; no session begins.
  PageArguments goodArguments(const ScriptMethod& method, NPObject* function) const {
    PageArguments arguments;
    const PageValue text = method.name == "initSession" ? "^" : "{}";
    for (const char kind : method.takes) {
      arguments.push_back(kind == 'b' ? "true" : kind == 'o' ? PageValue(function) : text);
    }
    return arguments;
  }
  // Lets everything happen until `function` was called `calls` times.
  bool waitForCalls(const PageObject* function, size_t calls) {
    return runUntil([&] { return function->calls().size() >= calls; });
  }
  // What the application got, apart from the plugin's own question.
  std::vector<std::string> sent() const {
    std::vector<std::string> all;
    for (const std::string& request : requestsFor("")) {
      if (request.find("GET /v4/pellion/version ") != 0) {
        all.push_back(request);
      }
    }
    return all;
  }
  void expectNextCallWorks() {
    PageObject* next = browser.newFunction();
    EXPECT_EQ(PageValue("3.1"), call("queryVersion"));
    EXPECT_EQ(PageValue(Null()), call("pellionHttpRequestAsync", {"GET", "/", "", next}));
    EXPECT_TRUE(waitForCalls(next, 1));
    EXPECT_EQ(PageArguments{R"({"a":1})"}, next->calls()[0]);
  }
};

// A page that uses all that there is, and notes what it is answered and told.
class NoMemory : public BrowserFaults {
 protected:
  NoMemory() {
    createWithView();
    page = browser.newFunction([this](const PageArguments& told) {
      transcript.insert(transcript.end(), told.begin(), told.end());
      return PageValue(7);
    });
    observer = browser.newObject();
    observer->setMethod("onDrop", page->function);
  }

  // Asks again where it is refused.
  template <typename Ask>
  PageValue ask(Ask request) {
    std::optional<PageValue> answer = request();
    if (!answer) {
      ++refusals;
      answer = request();
    }
    EXPECT_TRUE(answer.has_value());
    transcript.push_back(answer.value_or(Undefined()));
    return transcript.back();
  }
  void set(const std::string& name, const PageValue& value) {
    ask([&] {
      const bool done = browser.setProperty(object, name, value);
      return done ? std::optional<PageValue>(true) : std::nullopt;
    });
    ask([&] { return browser.getProperty(object, name); });
  }
  // `n` is the allocation that fails; none for 0.
  std::vector<PageValue> run(int n) {
    transcript.clear();
    refusals = 0;
    browser.failAllocation(n);
    set("name", "a page");
    set("dropObserver", observer);
    set("eventHandler", page);
    plugin->doDrop({"/a", "/b"});
    EventHandler::handleEvent(instance, page, eTransferEventType, "{}");
    for (const ScriptMethod& method : kScriptMethods) {
      const size_t calls = page->calls().size();
      const PageValue answer = ask([&] { return call(method.name, goodArguments(method, page)); });
      if (answer == PageValue(Null())) {
        EXPECT_TRUE(waitForCalls(page, calls + 1)) << method.name;
      }
    }
    set("dropObserver", Null());
    set("eventHandler", Null());
    browser.failAllocation(0);
    EXPECT_EQ(1u, page->referenceCount);
    EXPECT_EQ(1u, observer->referenceCount);
    return transcript;
  }

  PageObject* page;
  PageObject* observer;
  std::vector<PageValue> transcript;
  int refusals = 0;
};

// One call at most is hurt: it is refused, or its text arrives empty.
TEST_F(NoMemory, hurtsOneCallWhicheverAllocationFails) {
  run(0);
  size_t blocks = browser.liveBlocks();
  const int before = browser.allocations();
  const std::vector<PageValue> whole = run(0);
  const int count = browser.allocations() - before;
  const size_t left = browser.liveBlocks() - blocks;
  EXPECT_GT(count, 60);
  for (int n = 1; n <= count; ++n) {
    blocks = browser.liveBlocks();
    const std::vector<PageValue> hurt = run(n);
    ASSERT_EQ(whole.size(), hurt.size()) << n;
    int lostTexts = 0;
    for (size_t i = 0; i < whole.size(); ++i) {
      if (!(whole[i] == hurt[i])) {
        EXPECT_EQ(PageValue(""), hurt[i]) << n << " at " << i;
        ++lostTexts;
      }
    }
    EXPECT_LE(refusals + lostTexts, 1) << n;
    // Less one when a block fails that a call of the page leaves behind.
    EXPECT_LE(browser.liveBlocks() - blocks, left) << n;
    EXPECT_GE(browser.liveBlocks() - blocks + 1, left) << n;
  }
  EXPECT_EQ(whole, run(0));
  EXPECT_FALSE(logLines("ERR The browser has no memory for a text of 4 bytes").empty());
}

TEST_F(BrowserFaults, survivesABrowserThatHasNothing) {
  const std::function<void()> faults[] = {
      [] { g_NPNFuncs.createobject = [](NPP, NPClass*) -> NPObject* { return nullptr; }; },
      [] {
        g_NPNFuncs.getstringidentifier = [](const NPUTF8*) -> NPIdentifier { return nullptr; };
        g_NPNFuncs.getproperty = [](NPP, NPObject*, NPIdentifier, NPVariant*) { return false; };
        g_NPNFuncs.hasmethod = [](NPP, NPObject*, NPIdentifier) { return false; };
      },
      [] { g_NPNFuncs.getvalue = [](NPP, NPNVariable, void*) -> NPError { return 1; }; },
      [] { g_NPNFuncs.memalloc = [](uint32_t) -> void* { return nullptr; }; }};
  for (const auto& fault : faults) {
    fault();
    createWithView();
    PageObject* page = browser.newFunction();
    if (object != nullptr) {
      browser.setProperty(object, "eventHandler", page);
      browser.setProperty(object, "dropObserver", page);
      for (const ScriptMethod& method : kScriptMethods) {
        EXPECT_NE(std::nullopt, call(method.name, goodArguments(method, page))) << method.name;
      }
      EXPECT_TRUE(waitForCalls(page, 2));
    }
    plugin->doDrop({"/a"});
    destroy();
    EXPECT_EQ(1u, page->referenceCount);
    g_NPNFuncs = *browser.functions();
  }
}

TEST_F(BrowserFaults, methodsRefuseArgumentsOfAnotherNumberOrKind) {
  createWithView();
  PageObject* page = browser.newFunction();
  NPVariant strange;
  std::memset(&strange, 0xFF, sizeof(strange));
  strange.type = static_cast<NPVariantType>(99);
  NPVariant noText;
  STRINGN_TO_NPVARIANT(nullptr, 0, noText);
  std::vector<std::pair<NPVariant, std::string>> values = {{strange, ""}, {noText, "s"}};
  const std::pair<PageValue, std::string> madeOf[] = {
      {"x", "st"},    {true, "b"},
      {page, "o"},    {"false", "stb"},
      {"True", "st"}, {Undefined(), ""},
      {Null(), ""},   {0, ""},
      {5, ""},        {std::numeric_limits<double>::quiet_NaN(), ""}};
  for (const auto& [value, fits] : madeOf) {
    values.emplace_back(browser.makeVariant(value), fits);
  }
  const std::map<char, NPVariant> fitting = {{'s', values[2].first},
                                             {'t', values[2].first},
                                             {'b', values[3].first},
                                             {'o', values[4].first}};
  const int retains = browser.retains(page);
  for (const ScriptMethod& method : kScriptMethods) {
    EXPECT_TRUE(browser.hasMethod(object, method.name)) << method.name;
    std::vector<NPVariant> good;
    std::vector<std::vector<NPVariant>> refused;
    for (const char kind : method.takes) {
      refused.push_back(good);
      good.push_back(fitting.at(kind));
    }
    for (const auto& [variant, fits] : values) {
      for (size_t i = 0; i < good.size(); ++i) {
        if (fits.find(method.takes[i]) == std::string::npos) {
          refused.push_back(good);
          refused.back()[i] = variant;
        }
      }
      if (!method.takesMore) {
        refused.push_back(good);
        refused.back().push_back(variant);
      }
    }
    const std::string line = "DBG " + method.name + "(): argCount=";
    const size_t linesBefore = logLines(line).size();
    for (const auto& arguments : refused) {
      NPVariant result;
      VOID_TO_NPVARIANT(result);
      EXPECT_FALSE(object->_class->invoke(object, browser.stringIdentifier(method.name),
                                          arguments.data(), static_cast<uint32_t>(arguments.size()),
                                          &result))
          << method.name << " row " << &arguments - refused.data();
      EXPECT_TRUE(NPVARIANT_IS_VOID(result)) << method.name;
    }
    EXPECT_EQ(linesBefore + refused.size(), logLines(line).size()) << method.name;
    const bool saysSo = method.name.find("DialogAsync") != std::string::npos;
    EXPECT_EQ(saysSo ? refused.size() : 0,
              logLines("ERR " + method.name + "() - invalid arguments").size());
  }
  EXPECT_EQ(0u, sent().size());
  EXPECT_EQ(retains, browser.retains(page));
  for (auto& [variant, fits] : values) {
    if (variant.type != strange.type) {
      browser.functions()->releasevariantvalue(&variant);
    }
  }
  expectNextCallWorks();
}

// Of every text that a method takes.
class Texts : public BrowserFaults {
 protected:
  // Calls each method, or `only` one, once for each of its texts, with `text` there; answers what
  // was sent.
  std::vector<std::string> sendEverywhere(const std::string& text, const std::string& only = "") {
    std::vector<std::string> all;
    PageObject* page = browser.newFunction();
    for (const ScriptMethod& method : kScriptMethods) {
      for (size_t i = 0; i < method.takes.size(); ++i) {
        const bool isText = method.takes[i] == 's' || method.takes[i] == 't';
        if (isText && (only.empty() || method.name == only)) {
          PageArguments arguments = goodArguments(method, page);
          arguments[i] = method.name == "initSession" && i == 0 ? "^" + text : text;
          const std::vector<std::string> now = send(method.name, arguments, page);
          all.insert(all.end(), now.begin(), now.end());
        }
      }
    }
    return all;
  }

 private:
  std::vector<std::string> send(const std::string& method, const PageArguments& arguments,
                                const PageObject* page) {
    serve("{}");
    create();
    const size_t calls = page->calls().size();
    const auto answer = call(method, arguments);
    EXPECT_NE(std::nullopt, answer) << method;
    EXPECT_TRUE(!(answer == PageValue(Null())) || waitForCalls(page, calls + 1)) << method;
    if (method == "addToUploadList") {
      call("startListUploadToURL", {"{}"});
    } else if (method == "addToDownloadList") {
      call("startListDownloadToPath", {""});
    }
    EXPECT_EQ(PageValue("3.1"), call("queryVersion"));
    destroy();
    return sent();
  }
};

TEST_F(Texts, endAtTheirFirstZeroCharacter) {
  const std::string zero(1, '\0');
  EXPECT_EQ(sendEverywhere("[1]"), sendEverywhere("[1]" + zero + "x"));
  EXPECT_EQ(14u, sendEverywhere(zero + "[1]").size());
}

TEST_F(Texts, mayBeHuge) {
  const auto quoted = [](size_t size) { return "\"" + std::string(size, 'a') + "\""; };
  const auto countArrived = [&](size_t size, const std::string& only) {
    const std::vector<std::string> all = sendEverywhere(quoted(size), only);
    return std::count_if(all.begin(), all.end(),
                         [size](const std::string& request) { return request.size() > size; });
  };
  EXPECT_EQ(12, countArrived(kHugeText / 16, ""));
  EXPECT_EQ(3, countArrived(kHugeText, "pellionHttpRequest"));
  EXPECT_EQ(1, countArrived(kHugeText, "startDownload"));
  create();
  const PageValue name = quoted(kHugeText);
  EXPECT_TRUE(browser.setProperty(object, "name", name));
  EXPECT_EQ(name, browser.getProperty(object, "name"));
}

// Each occasion on which a function of the page is called, with each way in which it misbehaves.
class PageFunctions : public BrowserFaults {
 protected:
  void useEverything(const PageObject* self, bool lives) {
    for (const ScriptMethod& method : kScriptMethods) {
      EXPECT_EQ(lives, call(method.name, goodArguments(method, quiet)).has_value()) << method.name;
    }
    for (const char* name : {"dropObserver", "eventHandler"}) {
      EXPECT_EQ(lives, browser.setProperty(object, name, Null()));
      EXPECT_EQ(lives, browser.setProperty(object, name, const_cast<PageObject*>(self)));
    }
    if (lives && !nested) {
      nested = true;
      plugin->doDrop({"/nested"});
      nested = false;
    }
    browser.pump();
    g_main_context_iteration(nullptr, FALSE);
  }

  PageObject* quiet = browser.newFunction();
  bool nested = false;
};

TEST_F(PageFunctions, mayDoWhatTheyLike) {
  PageObject* page = nullptr;
  bool forgotten = false;
  const std::function<std::optional<PageValue>()> ways[] = {
      [] { return std::nullopt; },  // an exception
      [] { return PageValue(Untouched()); },
      [&] { return useEverything(page, true), PageValue(5); },
      [&] { return destroy(), useEverything(page, false), PageValue("gone"); },
      [&] {
        destroy();
        createWithView();
        return useEverything(page, true), PageValue(static_cast<NPObject*>(page));
      },
      [&] {
        forgotten = true;
        browser.setProperty(object, "dropObserver", Null());
        browser.setProperty(object, "eventHandler", Null());
        EXPECT_EQ(2u, page->referenceCount) << "the call holds one";
        browser.dropObject(page);
        return PageValue(Undefined());
      }};
  const std::pair<const char*, PageArguments> occasions[] = {
      {"pellionHttpRequestAsync", {"GET", "/", ""}},
      {"runOpenFolderDialogAsync", {"", true}},
      {"runSaveFileDialogAsync", {"", "", ""}},
      {"eventHandler", {}},
      {"dropObserver", {}}};
  for (const auto& [occasion, given] : occasions) {
    for (const auto& way : ways) {
      SCOPED_TRACE(testing::Message() << occasion << ", way " << &way - ways);
      bool called = false;
      createWithView();
      page = browser.newFunction([&](const PageArguments&) -> std::optional<PageValue> {
        return std::exchange(called, true) ? PageValue(1) : way();
      });
      page->setMethod("onDrop", page->function);
      forgotten = false;
      if (given.empty()) {
        browser.setProperty(object, occasion, page);
        plugin->doDrop({"/a"});
      } else {
        PageArguments arguments = given;
        arguments.emplace_back(page);
        call(occasion, arguments);
      }
      EXPECT_TRUE(runUntil([&] { return called; }));
      if (plugin == nullptr) {
        createWithView();
      }
      expectNextCallWorks();
      destroy();
      while (g_main_context_iteration(nullptr, FALSE)) {
      }
      if (!forgotten) {
        EXPECT_EQ(1u, page->referenceCount);
      }
      EXPECT_EQ(1u, quiet->referenceCount);
    }
  }
}

TEST_F(BrowserFaults, deepJsonFromThePageIsRefused) {
  create();
  PageObject* page = browser.newFunction();
  const PageValue refusal = R"({"error":{"code":-1,"user_message":"Error parsing JSON: )"
                            R"(parse error: nested deeper than 10000 levels"}})";
  const std::string arrays(1000000, '[');
  for (const std::string& text :
       {arrays, arrays + std::string(arrays.size(), ']'), "{\"transfer_specs\":" + arrays}) {
    EXPECT_EQ(refusal, call("pellionHttpRequest", {"POST", "/", text}));
    EXPECT_EQ(refusal, call("pellionHttpRequestAsync", {"POST", "/", text, page}));
  }
  EXPECT_EQ(1u, page->referenceCount);
  EXPECT_EQ(0u, sent().size());
  expectNextCallWorks();
}

size_t residentBytes() {
  const std::string statm = readFile("/proc/self/statm");
  return std::stoul(statm.substr(statm.find(' '))) * 4096;
}

// One after the other, each used a little, without a session. What stays is kept on purpose: two
// small records an instance, and the texts of the names that it was called by; the rest of the
// growth is the books of the browser and the application here.
TEST_F(BrowserFaults, leaveNothingOverThousandsOfInstances) {
  Pellion::Web::Utils::logCleanup();  // Its lines would take most of the time.
  PageObject* page = browser.newFunction();
  const auto live = [&] {
    createWithView();
    browser.setProperty(object, "eventHandler", page);
    call("queryVersion");
    plugin->doDrop({"/a"});
    destroy();
  };
  for (int i = 0; i < 100; ++i) {
    live();
  }
  const size_t threads = countThreads();
  const size_t descriptors = countDescriptors();
  const size_t blocks = browser.liveBlocks();
  const size_t resident = residentBytes();
  for (int i = 0; i < kInstances; ++i) {
    live();
  }
  const size_t grown = residentBytes() - resident;
  EXPECT_TRUE(
      waitFor([&] { return countThreads() == threads && countDescriptors() == descriptors; }));
  EXPECT_EQ(blocks, browser.liveBlocks());
  EXPECT_EQ(1u, page->referenceCount);
  RecordProperty("bytes_an_instance", static_cast<int>(grown / kInstances));
  if (!kSanitized) {
    EXPECT_LT(grown / kInstances, 1024u);
  }
}

}  // namespace
