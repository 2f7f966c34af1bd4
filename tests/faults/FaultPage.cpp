#include "tests/faults/FaultPage.h"

#include <malloc.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

#include "tests/support/WaitFor.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// Of the sanitizers' run-time library, which comes without its header.
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

using test_support::FakeBrowser;
using test_support::httpResponse;
using test_support::PageArguments;
using test_support::sendAll;

namespace {

constexpr size_t kShown = 80;

bool (*invokeDefault)(NPP, NPObject*, const NPVariant*, uint32_t, NPVariant*);

// The module leaves a queued answer's text in the browser's memory on purpose. It is given back
// here, so that whatever else is left is seen.
bool invokeAndTakeText(NPP npp, NPObject* function, const NPVariant* args, uint32_t argCount,
                       NPVariant* result) {
  const bool answered = invokeDefault(npp, function, args, argCount, result);
  if (argCount == 1) {
    FakeBrowser::current().functions()->memfree(
        const_cast<NPUTF8*>(NPVARIANT_TO_STRING(args[0]).UTF8Characters));
  }
  return answered;
}

std::string shorten(const std::string& text, const char* errorDocument) {
  if (text == errorDocument) {
    return "the error document";
  }
  if (text.size() <= kShown) {
    return "\"" + text + "\"";
  }
  const bool uniform = text.find_first_not_of(text[0]) == std::string::npos;
  return std::to_string(text.size()) + " bytes" + (uniform ? std::string(" of ") + text[0] : "");
}

size_t heapBytes() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return __sanitizer_get_current_allocated_bytes();
#else
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
#endif
}

}  // namespace

Levels Levels::now() {
  return {heapBytes() / 1024, test_support::countDescriptors(), test_support::countThreads(),
          childStates().size()};
}

bool Levels::isBackAt(const Levels& before) const {
  return heapKib <= before.heapKib + kHeapNoiseKib && descriptors == before.descriptors &&
         threads == before.threads && children == before.children;
}

size_t peakMib() {
  std::ifstream status("/proc/self/status");
  std::string word;
  while (status >> word && word != "VmHWM:") {
  }
  size_t kib = 0;
  status >> kib;
  return kib / 1024;
}

std::string childStates() {
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

void printRow(const std::string& fault, const std::string& outcome,
              const std::vector<std::string>& log, const Levels& before, const Levels& after) {
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

FaultPage::FaultPage() {
  invokeDefault = std::exchange(browser.functions()->invokeDefault, invokeAndTakeText);
}

FaultPage::~FaultPage() {
  if (instance != nullptr) {
    closeInstance();
  }
}

void FaultPage::open(const char* launchTimeoutMs, bool session) {
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

void FaultPage::openInstance() {
  instance = browser.createInstance(plugin, {{"pellion-launch-wait-timeout-ms", _launchTimeoutMs}});
  ASSERT_NE(nullptr, instance);
  object = browser.scriptObject(plugin, instance);
}

void FaultPage::closeInstance() {
  browser.functions()->releaseobject(object);
  browser.destroyInstance(plugin, instance);
  instance = nullptr;
}

void FaultPage::openSession() {
  NPObject* handler = browser.newFunction([this](const PageArguments& arguments) {
    events.push_back(std::get<std::string>(arguments.at(1)));
    return test_support::Undefined();
  });
  browser.call(object, "initSession", {"faults", "example.org"});
  browser.setProperty(object, "eventHandler", handler);
}

void FaultPage::serve(Answer answer, bool always) {
  server = std::make_unique<test_support::ScriptedServer>(
      [answer, always](int connection, const std::string& request, size_t) {
        if (!always && request.find("/pellion/version ") != std::string::npos) {
          sendAll(connection, httpResponse(kGood));
        } else {
          answer(connection);
        }
      });
  writeUrlFile(server->port());
}

void FaultPage::serveWell() {
  serve([](int connection) { sendAll(connection, httpResponse(kGood)); });
}

void FaultPage::serveNothing() {
  server.reset();
  std::filesystem::remove_all(urlFile());
}

std::string FaultPage::ask(Way way) {
  PageArguments arguments = {"GET", "/v4/fault", "{}"};
  if (way == Way::kWaiting) {
    const auto answer = browser.call(object, "pellionHttpRequest", arguments);
    return shorten(std::get<std::string>(answer.value()), kErrorDocument);
  }
  std::string text;
  bool called = false;
  test_support::PageObject* callback = browser.newFunction([&](const PageArguments& given) {
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

std::string FaultPage::askBothWays() {
  const std::string answer = ask(Way::kWaiting);
  EXPECT_EQ(answer, ask(Way::kQueued));
  return answer;
}

void FaultPage::expectLogged(const std::vector<std::string>& texts) {
  const std::string log = logText();
  for (const std::string& text : texts) {
    EXPECT_NE(std::string::npos, log.find(text)) << text << "\nis not in\n" << log.substr(0, 9999);
    logged.push_back(text);
  }
}

void FaultPage::close(const std::string& fault, const std::string& outcome) {
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

std::string nameOfRow(const std::string& label) {
  std::string name;
  for (const char c : label) {
    name += std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
  }
  return name;
}
