#ifndef TESTS_FAULTS_FAULT_PAGE_H_
#define TESTS_FAULTS_FAULT_PAGE_H_

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/browsers/ModuleSandbox.h"
#include "tests/support/ScriptedServer.h"

// What this process holds at one moment. A fault must leave no more of anything behind; memory may
// differ by kHeapNoiseKib, since the fake browser and the allocator keep notes of their own.
struct Levels {
  static constexpr size_t kHeapNoiseKib = 64;

  size_t heapKib;
  size_t descriptors;
  size_t threads;
  size_t children;  // also those that ended and were not waited for

  static Levels now();
  bool isBackAt(const Levels& before) const;
};

// The most memory that this process ever had resident, in mebibytes.
size_t peakMib();
// State letters of the children, 'Z' for one that ended.
std::string childStates();

// Prints one line of the fault table, its fields between tabs: what went wrong, what came of it,
// what the log said, and the levels before and after.
void printRow(const std::string& fault, const std::string& outcome,
              const std::vector<std::string>& log, const Levels& before, const Levels& after);

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

  FaultPage();
  ~FaultPage() override;

  // Starts the module and an instance. A good application answers it before the levels are taken.
  void open(const char* launchTimeoutMs = "0", bool session = false);
  void takeLevels() { _before = Levels::now(); }
  void openInstance();
  void closeInstance();
  // The application from now on: it answers liveness requests well, unless `always`.
  void serve(Answer answer, bool always = true);
  void serveWell();
  // Nobody listens any more, and no address is published.
  void serveNothing();
  // What the page gets, from the call or in its callback, shortened: "the error document" stands
  // for exactly that one, a long run of one character is told by its length.
  std::string ask(Way way);
  // The same, and the request's two ways must give the same.
  std::string askBothWays();
  // Each text stands in the log; the row will show them.
  void expectLogged(const std::vector<std::string>& texts);
  // Ends the row and prints it.
  void close(const std::string& fault, const std::string& outcome);

  std::string urlFile() const { return dataPath("var/run/http.uri"); }

  std::unique_ptr<test_support::ScriptedServer> server;
  NPP instance = nullptr;
  NPObject* object = nullptr;
  std::vector<std::string> events;  // of the session, as the page got them
  std::vector<std::string> logged;  // what the row will show of the log

 private:
  void openSession();

  const char* _launchTimeoutMs = "0";
  Levels _before = {};
};

// For the names of parameterised rows.
std::string nameOfRow(const std::string& label);

#endif  // TESTS_FAULTS_FAULT_PAGE_H_
