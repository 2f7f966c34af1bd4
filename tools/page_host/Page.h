#ifndef TOOLS_PAGE_HOST_PAGE_H_
#define TOOLS_PAGE_HOST_PAGE_H_

#include <memory>
#include <string>

#include "tools/npapi_host/MainLoop.h"
#include "tools/npapi_host/PluginHost.h"
#include "tools/npapi_host/WindowLink.h"
#include "tools/page_host/Console.h"
#include "tools/page_host/Options.h"
#include "tools/page_host/ScriptBridge.h"
#include "tools/page_host/ScriptEngine.h"
#include "tools/page_host/ScriptPage.h"
#include "tools/page_host/Timers.h"
#include "tools/page_host/Watchdog.h"

namespace page_host {

// One page from its script's first line to its exit code, and everything that belongs to it. Main
// thread only, except where said.
class Page {
 public:
  explicit Page(const Options& options);
  ~Page();
  Page(const Page&) = delete;
  Page& operator=(const Page&) = delete;

  // There is one a process, which the engine's and the module's callbacks find here.
  static Page& current();

  // Answers the process's exit code.
  int run();
  // The first call decides. The running script goes on to its end.
  void quit(int code);
  // Another plugin instance, and what the script calls it by. Null, with a message, when the module
  // refused to make it.
  JSObjectRef createPlugin(const NameValues& params, std::string* error);

  const Options& options() const { return _options; }
  // What the page believes to be loaded from.
  std::string address() const;
  Console& console() { return _console; }
  ScriptEngine& engine() { return *_engine; }
  ScriptBridge& bridge() { return *_bridge; }
  Timers& timers() { return *_timers; }
  ScriptPage& scriptPage() { return _scriptPage; }
  npapi_host::PluginHost& plugins() { return _plugins; }
  // Null without a window.
  npapi_host::WindowLink* window() { return _window.get(); }

 private:
  bool setUp(std::string* error);
  bool readScript(std::string* error);
  bool openWindow(std::string* error);
  void sayOfWindow(const std::string& problem);
  void windowClosed(const std::string& problem);
  void runScript();
  void endNested();
  void waitForUser();
  void tearDown();
  int exitCode() const;

  const Options _options;
  std::unique_ptr<Watchdog> _watchdog;
  std::string _source;
  npapi_host::MainLoop _loop;
  Console _console;
  std::unique_ptr<npapi_host::WindowLink> _window;
  ScriptPage _scriptPage;
  npapi_host::PluginHost _plugins;
  std::unique_ptr<ScriptEngine> _engine;
  std::unique_ptr<ScriptBridge> _bridge;
  std::unique_ptr<Timers> _timers;
  bool _ended = false;
  bool _tornDown = false;
  int _code = 0;
};

}  // namespace page_host

#endif  // TOOLS_PAGE_HOST_PAGE_H_
