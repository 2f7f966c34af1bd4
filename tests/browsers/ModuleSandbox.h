#ifndef TESTS_BROWSERS_MODULE_SANDBOX_H_
#define TESTS_BROWSERS_MODULE_SANDBOX_H_

#include <dlfcn.h>

#include "tests/support/FakeBrowser.h"
#include "tests/support/Sandbox.h"

// The module as a browser has it: loaded from its file, known by its entry points only.
class ModuleSandbox : public test_support::Sandbox {
 protected:
  using FakeBrowser = test_support::FakeBrowser;

  ModuleSandbox() : module(dlopen(ORVANE_MODULE, RTLD_NOW | RTLD_LOCAL)) {
    EXPECT_NE(nullptr, module) << dlerror();
    plugin.size = sizeof(plugin);
  }
  ~ModuleSandbox() override {
    if (_initialized) {
      entry<NPError (*)()>("NP_Shutdown")();
    }
    dlclose(module);
  }

  void SetUp() override { test_support::skipWhereAnApplicationIsInstalled(); }

  template <typename Function>
  Function entry(const char* name) {
    return reinterpret_cast<Function>(dlsym(module, name));
  }
  NPError initialize(NPNetscapeFuncs* functions, NPPluginFuncs* table) {
    const NPError error =
        entry<NPError (*)(NPNetscapeFuncs*, NPPluginFuncs*)>("NP_Initialize")(functions, table);
    _initialized = error == NPERR_NO_ERROR;
    return error;
  }
  NPError initialize() { return initialize(browser.functions(), &plugin); }

  // An instance that does not wait for a local application.
  NPP newInstance(FakeBrowser::Parameters parameters = {}) {
    parameters.push_back({"pellion-launch-wait-timeout-ms", "0"});
    return browser.createInstance(plugin, parameters);
  }

  FakeBrowser browser;
  void* module;
  NPPluginFuncs plugin = {};

 private:
  bool _initialized = false;
};

#endif  // TESTS_BROWSERS_MODULE_SANDBOX_H_
