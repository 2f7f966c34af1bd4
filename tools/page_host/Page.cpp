#include "tools/page_host/Page.h"

#include <unistd.h>

#include <cassert>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tools/npapi_host/Address.h"
#include "tools/page_host/PageGlobals.h"
#include "tools/page_host/Watchdog.h"

namespace page_host {

using npapi_host::MainLoop;
using npapi_host::WindowLink;

static Page* thePage = nullptr;

static std::string fileName(const std::string& path) {
  return std::filesystem::path(path).filename();
}

Page::Page(const Options& options) : _options(options), _scriptPage(this), _plugins(&_scriptPage) {
  thePage = this;
}

Page::~Page() {
  thePage = nullptr;
}

Page& Page::current() {
  assert(thePage != nullptr);
  return *thePage;
}

std::string Page::address() const {
  return _options.hostname.empty()
             ? npapi_host::fileAddress(_options.script)
             : "http://" + _options.hostname + "/" + fileName(_options.script);
}

int Page::run() {
  _watchdog = std::make_unique<Watchdog>(_options.timeoutSeconds, [] {
    MainLoop::post([] {
      if (thePage != nullptr) {
        thePage->quit(kExitTimeout);
      }
    });
  });
  std::string error;
  if (!setUp(&error)) {
    std::fprintf(stderr, "orvane-page-host: %s\n", error.c_str());
    tearDown();
    return kExitUsage;
  }
  MainLoop::post([this] { runScript(); });
  _loop.run();
  waitForUser();
  tearDown();
  return exitCode();
}

bool Page::readScript(std::string* error) {
  std::ifstream file(_options.script, std::ios::binary);
  if (!file || std::filesystem::is_directory(_options.script)) {
    *error = "the page script " + _options.script + " cannot be read";
    return false;
  }
  _source.assign(std::istreambuf_iterator<char>(file), {});
  return true;
}

bool Page::setUp(std::string* error) {
  if (!readScript(error)) {
    return false;
  }
  const std::string path =
      npapi_host::Module::find(_options.modulePath, "name it with --module", error);
  if (path.empty() || (_options.window && !openWindow(error)) || !_plugins.load(path, error)) {
    return false;
  }
  _engine = std::make_unique<ScriptEngine>(
      [this](const std::string& exception) { _console.problem(exception); });
  _bridge = std::make_unique<ScriptBridge>(_engine.get());
  _timers = std::make_unique<Timers>(_engine.get());
  if (_options.failFast) {
    _console.onProblem([this] { quit(kExitPageError); });
  }
  definePageGlobals(this);
  JSObjectRef plugin = _plugins.start(error) ? createPlugin(_options.params, error) : nullptr;
  if (plugin != nullptr) {
    _engine->set(_engine->global(), "plugin", plugin);
  }
  return plugin != nullptr;
}

JSObjectRef Page::createPlugin(const NameValues& params, std::string* error) {
  const auto instance = _plugins.instances().create(
      {_plugins.module().mimeType(), params, _options.width, _options.height}, error);
  return instance != nullptr ? _scriptPage.addElement(*instance) : nullptr;
}

bool Page::openWindow(std::string* error) {
  std::string reason;
  if (!WindowLink::openDisplay(&reason)) {
    *error = "--window needs a display, and " + reason;
    return false;
  }
  _window = WindowLink::open(fileName(_options.script), error);
  if (_window == nullptr) {
    return false;
  }
  _window->status("Running");
  _window->onClosed([this](const std::string& problem) { windowClosed(problem); });
  _console.setMirror([this](Console::Level level, const std::string& text) {
    static const char* const kKinds[] = {"log", "warning", "error"};
    _window->send({"print", kKinds[static_cast<int>(level)], text});
  });
  return true;
}

// Nothing when the user closed it.
void Page::sayOfWindow(const std::string& problem) {
  if (!problem.empty()) {
    _console.print(Console::Level::kError, "orvane-page-host: " + problem);
  }
}

void Page::windowClosed(const std::string& problem) {
  sayOfWindow(problem);
  quit(problem.empty() ? 0 : kExitPageError);
}

void Page::runScript() {
  if (_engine->evaluate(_source, _options.script, nullptr) == nullptr) {
    quit(kExitPageError);
  }
}

void Page::quit(int code) {
  if (_ended) {
    return;
  }
  _ended = true;
  _code = code;
  _loop.quit();
  // The page's own loop ends before it comes to this; a loop nested in it (a dialog's) does not.
  MainLoop::post([this] { endNested(); });
}

// What is below on the stack cannot be left any more: the instances end, the rest ends with the
// process.
void Page::endNested() {
  if (!_tornDown) {
    _plugins.endInstances();
    std::fflush(nullptr);
    _exit(exitCode());
  }
}

void Page::waitForUser() {
  _tornDown = true;
  if (_window == nullptr || !_options.keepOpen || _window->closed()) {
    return;
  }
  _watchdog.reset();  // the user may take any time
  _timers->clearAll();
  _window->status(exitCode() == 0 ? "Done" : "Ended with code " + std::to_string(exitCode()));
  MainLoop waiting;
  _window->onClosed([&](const std::string& problem) {
    sayOfWindow(problem);
    waiting.quit();
  });
  waiting.run();
  _window->onClosed(nullptr);
}

void Page::tearDown() {
  _tornDown = true;
  _plugins.endInstances();
  if (_timers != nullptr) {
    _timers->clearAll();
  }
  if (_bridge != nullptr) {
    _plugins.objects().releaseAll();
    _bridge->close();
    _timers.reset();
    _engine.reset();
    _bridge->dropCollected();
  }
  _plugins.stop();
  _console.setMirror(nullptr);
  _window.reset();
}

int Page::exitCode() const {
  return _code == 0 && _console.problems() > 0 ? kExitPageError : _code;
}

}  // namespace page_host
