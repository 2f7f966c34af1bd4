#ifndef TESTS_BROWSERS_PLUGIN_FIXTURE_H_
#define TESTS_BROWSERS_PLUGIN_FIXTURE_H_

#include <glib.h>

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "browsers/npapi_common/ovOrvaneWebPlugin.h"
#include "browsers/npapi_common/ovUtility.h"
#include "plugin/src/RunnableScheduler.h"
#include "plugin/src/Utils.h"
#include "tests/support/FakeBrowser.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/WaitFor.h"

// A plugin object in a page of the fake browser, and a local application that answers whatever the
// test says. `Home` is the sandbox to stand in.
template <typename Home>
class PluginFixture : public Home {
 protected:
  using FakeBrowser = test_support::FakeBrowser;
  using Parameters = std::map<std::string, std::string>;

  PluginFixture() {
    current = this;
    g_NPNFuncs = *browser.functions();
    Pellion::Web::Utils::logInit();
    Pellion::Web::RunnableScheduler::init();
  }
  ~PluginFixture() override {
    if (plugin != nullptr) {
      destroy();
    }
    Pellion::Web::RunnableScheduler::cleanup();
    Pellion::Web::Utils::logCleanup();
  }

  void SetUp() override { test_support::skipWhereAnApplicationIsInstalled(); }

  // The local application from now on.
  void serve(test_support::ScriptedServer::Script script) {
    server = std::make_unique<test_support::ScriptedServer>(std::move(script));
    this->writeUrlFile(server->port());
  }
  void serve(const std::string& body) {
    serve([body](int connection, const std::string&, size_t) {
      test_support::sendAll(connection, test_support::httpResponse(body));
    });
  }
  // What it got of one kind, by the beginning of the request.
  std::vector<std::string> requestsFor(const std::string& start) const {
    std::vector<std::string> found;
    for (const std::string& request : server->requests()) {
      if (request.compare(0, start.size(), start) == 0) {
        found.push_back(request);
      }
    }
    return found;
  }

  // As NPP_New and NPP_Destroy do. Without a local application nothing is waited for.
  void create(Parameters parameters = {}) {
    if (server == nullptr) {
      parameters["pellion-launch-wait-timeout-ms"] = "0";
    }
    instance = browser.openInstance();
    try {
      plugin = new ovOrvaneWebPlugin(instance, parameters);
    } catch (...) {
      browser.closeInstance(instance);
      throw;
    }
    instance->pdata = plugin;
    object = plugin->objectForWebScript();
  }
  void destroy() {
    instance->pdata = nullptr;
    delete std::exchange(plugin, nullptr);
    browser.closeInstance(instance);
  }
  // The same, for a function that a test puts into the browser's table.
  static void destroyCurrent() { current->destroy(); }

  std::optional<test_support::PageValue> call(const std::string& method,
                                              const test_support::PageArguments& arguments = {}) {
    return browser.call(object, method, arguments);
  }
  // Runs what was handed to the main thread, in either way, until the condition holds.
  template <typename Condition>
  bool runUntil(Condition condition) {
    return browser.pumpUntil([&] {
      g_main_context_iteration(nullptr, FALSE);
      return condition();
    });
  }
  // No reference of the plugin's is left on it.
  void expectLetGo(const test_support::PageObject* page) const {
    EXPECT_EQ(browser.retains(page), browser.releases(page));
    EXPECT_GT(browser.retains(page), 0);
  }

  FakeBrowser browser;
  std::unique_ptr<test_support::ScriptedServer> server;
  NPP instance = nullptr;
  ovOrvaneWebPlugin* plugin = nullptr;
  NPObject* object = nullptr;  // the script object

 private:
  inline static PluginFixture* current = nullptr;
};

using PluginSandbox = PluginFixture<test_support::Sandbox>;

#endif  // TESTS_BROWSERS_PLUGIN_FIXTURE_H_
