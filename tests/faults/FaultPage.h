#ifndef TESTS_FAULTS_FAULT_PAGE_H_
#define TESTS_FAULTS_FAULT_PAGE_H_

#include <malloc.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/browsers/ModuleSandbox.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/WaitFor.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// Of the sanitizers' run-time library, which comes without its header.
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

inline size_t heapBytes() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return __sanitizer_get_current_allocated_bytes();
#else
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
#endif
}

// State letters of the children, 'Z' for one that ended.
inline std::string childStates() {
  std::string states;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
    std::ifstream children(task.path() / "children");
    for (std::string child; children >> child;) {
      const std::string status = test_support::readFile("/proc/" + child + "/stat");
      const size_t name = status.rfind(") ");
      states += name == std::string::npos ? '?' : status[name + 2];
    }
  }
  return states;
}

// What this process holds at one moment. A fault must leave no more of anything behind; memory may
// differ by kHeapNoiseKib, since the fake browser and the allocator keep notes of their own.
struct Levels {
  static constexpr size_t kHeapNoiseKib = 64;

  size_t heapKib;
  size_t descriptors;
  size_t threads;
  size_t children;  // also those that ended and were not waited for

  static Levels now() {
    return {heapBytes() / 1024, test_support::countDescriptors(), test_support::countThreads(),
            childStates().size()};
  }
  bool isBackAt(const Levels& before) const {
    return heapKib <= before.heapKib + kHeapNoiseKib && descriptors == before.descriptors &&
           threads == before.threads && children == before.children;
  }
};

// The most memory that this process ever had resident, in mebibytes.
inline size_t peakMib() {
  std::ifstream status("/proc/self/status");
  std::string word;
  while (status >> word && word != "VmHWM:") {
  }
  size_t kib = 0;
  status >> kib;
  return kib / 1024;
}

// Prints one line of the fault table, its fields between tabs: what went wrong, what came of it,
// what the log said, and the levels before and after.
inline void printRow(const std::string& fault, const std::string& outcome,
                     const std::vector<std::string>& log, const Levels& before,
                     const Levels& after) {
  std::ostringstream row;
  row << fault << '\t' << outcome << '\t';
  for (const std::string& text : log) {
    row << text << (&text == &log.back() ? "" : " ... ");
  }
  row << '\t' << before.heapKib << '>' << after.heapKib << '\t' << peakMib() << '\t'
      << before.descriptors << '>' << after.descriptors << '\t' << before.threads << '>'
      << after.threads << '\t' << before.children << '>' << after.children;
  std::string line = row.str();
  std::replace_if(
      line.begin(), line.end(), [](char c) { return c != '\t' && (c < ' ' || c > '~'); }, '.');
  std::printf("fault-row\t%s\n", line.c_str());
}

// A page in the fake browser, with the module loaded from its file, and a local application that
// misbehaves. A row opens the page, asks while something is wrong, and closes it: then the page is
// answered again, and what the process holds is back where it was.
class FaultPage : public ModuleSandbox {
 protected:
  enum class Way { kWaiting, kQueued };  // pellionHttpRequest and pellionHttpRequestAsync
  using Answer = std::function<void(int connection)>;

  static constexpr char kGood[] = "good";
  static constexpr char kErrorDocument[] =
      "{\"error\":{\"code\":-1,\"user_message\":\"Error contacting Orvane Pellion. Ensure that it "
      "is running, and not blocked by your firewall or security policies.\"}}";

  FaultPage() {
    invokeDefault = std::exchange(browser.functions()->invokeDefault, invokeAndTakeText);
  }
  ~FaultPage() override {
    if (instance != nullptr) {
      closeInstance();
    }
  }

  // Starts the module and an instance. A good application answers it before the levels are taken.
  void open(const char* launchTimeoutMs = "0", bool session = false) {
    ASSERT_EQ(NPERR_NO_ERROR, initialize());
    _launchTimeoutMs = launchTimeoutMs;
    serveWell();
    openInstance();
    if (session) {
      openSession();
    }
    ASSERT_EQ("\"good\"", askBothWays());
    serveNothing();
    takeLevels();
  }
  void takeLevels() { _before = Levels::now(); }
  void openInstance() {
    instance =
        browser.createInstance(plugin, {{"pellion-launch-wait-timeout-ms", _launchTimeoutMs}});
    ASSERT_NE(nullptr, instance);
    object = browser.scriptObject(plugin, instance);
  }
  void closeInstance() {
    browser.functions()->releaseobject(object);
    browser.destroyInstance(plugin, instance);
    instance = nullptr;
  }
  // The application from now on: it answers liveness requests well, unless `always`.
  void serve(Answer answer, bool always = true) {
    server = std::make_unique<test_support::ScriptedServer>(
        [answer, always](int connection, const std::string& request, size_t) {
          if (!always && request.find("/pellion/version ") != std::string::npos) {
            test_support::sendAll(connection, test_support::httpResponse(kGood));
          } else {
            answer(connection);
          }
        });
    writeUrlFile(server->port());
  }
  void serveWell() {
    serve([](int connection) {
      test_support::sendAll(connection, test_support::httpResponse(kGood));
    });
  }
  // Nobody listens any more, and no address is published.
  void serveNothing() {
    server.reset();
    std::filesystem::remove_all(urlFile());
  }
  // What the page gets, from the call or in its callback, shortened: "the error document" stands
  // for exactly that one, a long run of one character is told by its length.
  std::string ask(Way way) {
    test_support::PageArguments arguments = {"GET", "/v4/fault", "{}"};
    if (way == Way::kWaiting) {
      const auto answer = browser.call(object, "pellionHttpRequest", arguments);
      return shorten(std::get<std::string>(answer.value()), kErrorDocument);
    }
    std::string text;
    bool called = false;
    test_support::PageObject* callback =
        browser.newFunction([&](const test_support::PageArguments& given) {
          text = std::get<std::string>(given.at(0));
          called = true;
          return test_support::Undefined();
        });
    arguments.push_back(callback);
    const auto refusal = browser.call(object, "pellionHttpRequestAsync", arguments);
    if (std::holds_alternative<std::string>(refusal.value())) {
      text = std::get<std::string>(*refusal);
    } else {
      EXPECT_TRUE(browser.pumpUntil([&] { return called; }));
    }
    browser.dropObject(callback);
    return shorten(text, kErrorDocument);
  }
  // The same, and the request's two ways must give the same.
  std::string askBothWays() {
    const std::string answer = ask(Way::kWaiting);
    EXPECT_EQ(answer, ask(Way::kQueued));
    return answer;
  }
  // Each text stands in the log; the row will show them.
  void expectLogged(const std::vector<std::string>& texts) {
    const std::string log = logText();
    for (const std::string& text : texts) {
      EXPECT_NE(std::string::npos, log.find(text)) << text << "\nis not in\n"
                                                   << log.substr(0, 9999);
      logged.push_back(text);
    }
  }
  // Ends the row and prints it.
  void close(const std::string& fault, const std::string& outcome) {
    serveNothing();
    serveWell();
    EXPECT_EQ("\"good\"", askBothWays());
    serveNothing();
    Levels after = {};
    EXPECT_TRUE(test_support::waitFor([&] {
      after = Levels::now();
      return after.isBackAt(_before);
    })) << "something was not given back";
    printRow(fault, outcome, logged, _before, after);
  }

  std::string urlFile() const { return dataPath("var/run/http.uri"); }

  std::unique_ptr<test_support::ScriptedServer> server;
  NPP instance = nullptr;
  NPObject* object = nullptr;
  std::vector<std::string> events;  // of the session, as the page got them
  std::vector<std::string> logged;  // what the row will show of the log

 private:
  inline static bool (*invokeDefault)(NPP, NPObject*, const NPVariant*, uint32_t, NPVariant*);

  // The module leaves a queued answer's text in the browser's memory on purpose. It is given back
  // here, so that whatever else is left is seen.
  static bool invokeAndTakeText(NPP npp, NPObject* function, const NPVariant* args,
                                uint32_t argCount, NPVariant* result) {
    const bool answered = invokeDefault(npp, function, args, argCount, result);
    if (argCount == 1) {
      test_support::FakeBrowser::current().functions()->memfree(
          const_cast<NPUTF8*>(NPVARIANT_TO_STRING(args[0]).UTF8Characters));
    }
    return answered;
  }
  static std::string shorten(const std::string& text, const char* errorDocument) {
    if (text == errorDocument) {
      return "the error document";
    }
    if (text.size() <= 80) {
      return "\"" + text + "\"";
    }
    const bool uniform = text.find_first_not_of(text[0]) == std::string::npos;
    return std::to_string(text.size()) + " bytes" + (uniform ? std::string(" of ") + text[0] : "");
  }

  void openSession() {
    NPObject* handler = browser.newFunction([this](const test_support::PageArguments& arguments) {
      events.push_back(std::get<std::string>(arguments.at(1)));
      return test_support::Undefined();
    });
    browser.call(object, "initSession", {"faults", "example.org"});
    browser.setProperty(object, "eventHandler", handler);
  }

  const char* _launchTimeoutMs = "0";
  Levels _before = {};
};

// For the names of parameterised rows.
inline std::string nameOfRow(const std::string& label) {
  std::string name;
  for (const char c : label) {
    name += std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
  }
  return name;
}

#endif  // TESTS_FAULTS_FAULT_PAGE_H_
