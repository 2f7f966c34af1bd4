#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "tests/browsers/ModuleSandbox.h"
#include "tests/support/ScriptedServer.h"

namespace {

using test_support::PageValue;

class Module : public ModuleSandbox {
 protected:
  NPError getValue(NPP instance, int variable, void* value) {
    return entry<NPError (*)(NPP, int, void*)>("NP_GetValue")(instance, variable, value);
  }
  const char* mimeDescription() { return entry<const char* (*)()>("NP_GetMIMEDescription")(); }
  NPError getEntryPoints(NPPluginFuncs* table) {
    return entry<NPError (*)(NPPluginFuncs*)>("NP_GetEntryPoints")(table);
  }
};

TEST_F(Module, staysMappedWhenTheBrowserUnloadsIt) {
  dlclose(module);
  module = dlopen(ORVANE_MODULE, RTLD_NOW | RTLD_NOLOAD);
  EXPECT_NE(nullptr, module);
}

// Browsers ask these questions while they scan for plugins, before they initialise any.
TEST_F(Module, describesItselfBeforeItIsInitialised) {
  EXPECT_STREQ("application/x-orvane-web::Orvane Web", mimeDescription());
  const char* text = nullptr;
  EXPECT_EQ(NPERR_NO_ERROR, getValue(nullptr, NPPVpluginNameString, &text));
  EXPECT_STREQ("Orvane Web", text);
  EXPECT_EQ(NPERR_NO_ERROR, getValue(nullptr, NPPVpluginDescriptionString, &text));
  EXPECT_STREQ("Orvane NPAPI plugin", text);
  int untouched = 77;
  EXPECT_EQ(NPERR_GENERIC_ERROR, getValue(nullptr, NPPVpluginWindowBool, &untouched));
  EXPECT_EQ(NPERR_INVALID_INSTANCE_ERROR,
            getValue(nullptr, NPPVpluginScriptableNPObject, &untouched));
  EXPECT_EQ(77, untouched);
  EXPECT_EQ("", logText());
}

TEST_F(Module, logsItsLifeInOrder) {
  ASSERT_EQ(NPERR_NO_ERROR, initialize());
  getEntryPoints(&plugin);
  mimeDescription();
  const char* name;
  getValue(nullptr, NPPVpluginNameString, &name);
  EXPECT_EQ(NPERR_NO_ERROR, entry<NPError (*)()>("NP_Shutdown")());
  EXPECT_TRUE(logged({"LOG \n\nInitializing Orvane Web Gecko plugin\n",
                      "DBG OW_PopulateNetscapeFunctionTable()",
                      "DBG OW_PopulatePluginFunctionTable()", "DBG NP_GetEntryPoints()",
                      "DBG OW_PopulatePluginFunctionTable()", "DBG NP_GetMIMEDescription()",
                      "DBG NP_GetValue() - 1", "LOG Shutting down Orvane Web Gecko plugin"}));
  // A browser may start it again.
  EXPECT_EQ(NPERR_NO_ERROR, initialize());
  EXPECT_EQ(2u, logLines("OW_PopulateNetscapeFunctionTable()").size());
}

TEST_F(Module, worksWithoutALog) {
  unsetenv("HOME");
  EXPECT_EQ(NPERR_NO_ERROR, initialize());
  EXPECT_NE(nullptr, plugin.newp);
}

TEST_F(Module, fillsThePluginTableAndLeavesTheBrowsersPart) {
  std::memset(&plugin, 0x5A, sizeof(plugin));
  const NPPluginFuncs before = plugin;
  plugin.size = 100;
  ASSERT_EQ(NPERR_NO_ERROR, initialize());
  EXPECT_TRUE(
      logged({"ERR OW_PopulatePluginFunctionTable() - Bad NPPluginFuncs size=100 (expected=168)"}));
  EXPECT_EQ(100, plugin.size);
  EXPECT_EQ(27, plugin.version);
  EXPECT_EQ(nullptr, plugin.javaClass);
  const auto word = [](const NPPluginFuncs& table, size_t offset) {
    return *reinterpret_cast<void* const*>(reinterpret_cast<const char*>(&table) + offset);
  };
  for (size_t offset = offsetof(NPPluginFuncs, newp); offset < sizeof(plugin); offset += 8) {
    EXPECT_EQ(offset >= offsetof(NPPluginFuncs, gotfocus),
              word(before, offset) == word(plugin, offset))
        << offset;
  }
}

TEST_F(Module, refusesAMissingPluginTable) {
  EXPECT_EQ(NPERR_INVALID_FUNCTABLE_ERROR, initialize(browser.functions(), nullptr));
  EXPECT_TRUE(logged({"ERR OW_PopulatePluginFunctionTable() - Null argument"}));
  EXPECT_EQ(NPERR_INVALID_FUNCTABLE_ERROR, getEntryPoints(nullptr));
  EXPECT_EQ(NPERR_NO_ERROR, getEntryPoints(&plugin));
  EXPECT_EQ(27, plugin.version);
}

// The asynchronous call is the 45th entry, far beyond what this browser says it has.
TEST_F(Module, copiesTheWholeBrowserTableWhateverSizeItDeclares) {
  test_support::ScriptedServer application(test_support::httpResponse("{\"answer\":1}"));
  writeUrlFile(application.port());
  browser.functions()->size = 16;
  ASSERT_EQ(NPERR_NO_ERROR, initialize());
  std::memset(browser.functions(), 0, sizeof(NPNetscapeFuncs));
  NPP instance = newInstance();
  test_support::PageObject* callback = browser.newFunction();
  EXPECT_EQ(PageValue(test_support::Null()),
            browser.call(browser.scriptObject(plugin, instance), "pellionHttpRequestAsync",
                         {"GET", "/", "", callback}));
  EXPECT_TRUE(browser.pumpUntil([&] { return !callback->calls().empty(); }));
  EXPECT_EQ(test_support::PageArguments{"{\"answer\":1}"}, callback->calls().at(0));
  browser.destroyInstance(plugin, instance);
  EXPECT_EQ(1u, callback->referenceCount);
}

TEST_F(Module, answersForANullInstance) {
  ASSERT_EQ(NPERR_NO_ERROR, initialize());
  int value = 77;
  NPStream stream = {};
  EXPECT_EQ(2, plugin.destroy(nullptr, nullptr));
  EXPECT_EQ(2, plugin.setwindow(nullptr, nullptr));
  EXPECT_EQ(2, plugin.newstream(nullptr, nullptr, &stream, 0, nullptr));
  EXPECT_EQ(268435455, plugin.writeready(nullptr, nullptr));
  EXPECT_EQ(2, plugin.write(nullptr, &stream, 0, 0, nullptr));
  EXPECT_EQ(2, plugin.destroystream(nullptr, &stream, NPRES_DONE));
  plugin.asfile(nullptr, &stream, "file");
  plugin.print(nullptr, nullptr);
  EXPECT_EQ(2, plugin.getvalue(nullptr, NPPVpluginNeedsXEmbed, &value));
  EXPECT_EQ(0, plugin.setvalue(nullptr, NPNVmuteAudioBool, &value));
  EXPECT_EQ(2, plugin.event(nullptr, &value));
  EXPECT_EQ(77, value);
  std::vector<std::string> lines = {"DBG NPP_Destroy() [(nil)]",
                                    "ERR NPP_Destroy() - Null instance"};
  for (const char* call : {"SetWindow", "NewStream", "WriteReady", "Write", "DestroyStream",
                           "StreamAsFile", "Print", "GetValue", "SetValue", "HandleEvent"}) {
    lines.push_back(std::string("DBG NPP_") + call + "()");
  }
  EXPECT_TRUE(logged(lines));
}

TEST_F(Module, answersForALivingInstance) {
  ASSERT_EQ(NPERR_NO_ERROR, initialize());
  NPP instance = newInstance();
  unsigned char needsXEmbed[2] = {0, 0x5A};
  EXPECT_EQ(0, plugin.getvalue(instance, NPPVpluginNeedsXEmbed, needsXEmbed));
  EXPECT_EQ(1, needsXEmbed[0]);
  EXPECT_EQ(0x5A, needsXEmbed[1]);
  int untouched = 77;
  EXPECT_EQ(0, plugin.getvalue(instance, NPPVpluginNameString, &untouched));
  EXPECT_EQ(77, untouched);
  EXPECT_EQ(0, plugin.setwindow(instance, nullptr));
  EXPECT_EQ(0, plugin.event(instance, nullptr));
  EXPECT_EQ(0, plugin.event(instance, &untouched));

  // A stream that is not the image's: refused by the plugin object, whose answer counts for its
  // blocks alone.
  NPStream stream = {};
  stream.url = "http://www.orvane.example/%s%n%%other.png";
  uint16_t kind = 77;
  char type[] = "image/png";
  EXPECT_EQ(0, plugin.newstream(instance, type, &stream, 0, &kind));
  EXPECT_EQ(77, kind);
  EXPECT_EQ(-1, plugin.write(instance, &stream, 0, 1, type));
  EXPECT_EQ(0, plugin.destroystream(instance, &stream, NPRES_DONE));
  plugin.asfile(instance, &stream, "/tmp/%s%n%%file");
  plugin.urlnotify(instance, stream.url, NPRES_DONE, nullptr);
  EXPECT_TRUE(logged({"LOG /tmp/%s%n%file", "DBG NPP_URLNotify()",
                      "LOG http://www.orvane.example/%s%n%other.png"}));
  browser.destroyInstance(plugin, instance);
}

TEST_F(Module, logsAnInstanceAndTheParametersItIsGiven) {
  ASSERT_EQ(NPERR_NO_ERROR, initialize());
  NPP instance = newInstance({{"image", nullptr},
                              {nullptr, "nameless"},
                              {"drop-mode", "up%sload"},
                              {"drop-mode", "callback"}});
  browser.destroyInstance(plugin, instance);
  char address[32];
  std::snprintf(address, sizeof(address), "[%p]", static_cast<void*>(instance));
  EXPECT_TRUE(logged({std::string("DBG NPP_New() ") + address,
                      "DBG Plugin parameters:", "DBG   drop-mode = up%sload",
                      "DBG   drop-mode = callback", "DBG   pellion-launch-wait-timeout-ms = 0",
                      "LOG Hostname: www.orvane.example", "DBG NPP_New() - done",
                      std::string("DBG NPP_Destroy() ") + address, "DBG NPP_Destroy() - done"}));
  EXPECT_TRUE(logLines("image = ").empty());
  EXPECT_TRUE(logLines("nameless").empty());
  EXPECT_EQ(nullptr, instance->pdata);
  int value;
  EXPECT_EQ(2, plugin.getvalue(instance, NPPVpluginScriptableNPObject, &value));
}

TEST_F(Module, refusesAnInstanceThatCannotBeMade) {
  browser.functions()->uagent = [](NPP) -> const char* { throw std::runtime_error("no agent"); };
  ASSERT_EQ(NPERR_NO_ERROR, initialize());
  int untouched;
  NPP instance = browser.openInstance();
  instance->pdata = &untouched;
  EXPECT_EQ(NPERR_GENERIC_ERROR,
            plugin.newp(nullptr, instance, NP_EMBED, 0, nullptr, nullptr, nullptr));
  EXPECT_EQ(&untouched, instance->pdata);
  EXPECT_TRUE(logged({"ERR Failed to initialize plugin: no agent", "ERR no agent"}));
  EXPECT_TRUE(logLines("NPP_New() - done").empty());
}

TEST_F(Module, letsNoExceptionOutIntoTheBrowser) {
  unsetenv("DISPLAY");
  browser.functions()->geturl = [](NPP, const char*, const char*) -> NPError { throw 7; };
  ASSERT_EQ(NPERR_NO_ERROR, initialize());
  NPP instance = newInstance({{"image", "http://x/a.png"}});
  NPWindow window = {};
  EXPECT_EQ(NPERR_GENERIC_ERROR, plugin.setwindow(instance, &window));
  EXPECT_TRUE(logged({"DBG NPP_SetWindow()", "ERR NPP_SetWindow(): unknown exception"}));
  browser.destroyInstance(plugin, instance);
}

}  // namespace
