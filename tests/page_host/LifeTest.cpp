#include <gmock/gmock.h>

#include <csignal>
#include <string>

#include "tests/page_host/PageRunner.h"

namespace test_support {
namespace {

using testing::HasSubstr;

class PluginLife : public PageRunner {};

TEST_F(PluginLife, goesThroughTheWholeCycleInOrder) {
  setenv("PROBE_TRACE", "1", 1);
  const PageResult result = runPage("console.log('script'); quit(0); console.log('to its end');",
                                    {"--width", "300", "--height", "100"});
  EXPECT_EQ(result.out,
            "GetValue\nGetMIMEDescription\nInitialize\n"
            "New:application/x-probe:1\nSetWindow:0:300x100\n"
            "script\nto its end\n"
            "SetWindow:0:0x0\nDestroy\ndeallocate\nShutdown\n");
  EXPECT_EQ(result.code, 0);
}

TEST_F(PluginLife, offersACompleteTable) {
  const PageResult result =
      runPage("console.log(plugin.describeBrowser()); quit(0);", {"--user-agent", "Probe/1"});
  EXPECT_EQ(result.out, "size 472 missing 0 window 0/1 toolkit 2 xembed 1 agent Probe/1\n");
}

TEST_F(PluginLife, keepsInstancesApartAndReusesTheirAddresses) {
  const PageResult result = runPage(R"(
    const first = createPlugin({x: 1}), second = createPlugin({x: 2});
    const addresses = [plugin, first, second].map(p => p.nppAddress());
    console.log(new Set(addresses).size, first !== second, first.self() === first);
    destroyPlugin(first);
    const third = createPlugin({});
    console.log(third.nppAddress() === addresses[1]);
    const attempt = (f) => { try { return f(); } catch (e) { return e.message; } };
    console.log(attempt(() => first.self()), attempt(() => first.value), attempt(() => first.kept));
    console.log(attempt(() => destroyPlugin(first)));
    console.log(attempt(() => createPlugin({new: 'refuse'})));
    destroyPlugin(plugin);
    console.log(second.self() === second);
    quit(0);)");
  EXPECT_EQ(result.out,
            "3 true true\ntrue\nError calling method on NPObject. undefined undefined\n"
            "destroyPlugin() needs a plugin that has not been destroyed\n"
            "the module refused to make an instance (error 5)\ntrue\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.code, 0);
}

TEST_F(PluginLife, endsInsideItsOwnCalls) {
  const struct {
    const char *label, *script, *expected;
  } kRows[] = {
      {"inside its own callback",
       "const p = createPlugin({}); p.keep(() => destroyPlugin(p)); plugin.history();"
       "p.callKept(); console.log(plugin.history());",
       "SetWindow:0:0x0 Destroy invokeDefault=true:void\n"},
      {"while a call of the page from NPP_New throws",
       "window.end = () => { throw 1; };"
       "const p = createPlugin({'call-in-new': 'end'}); console.log(p.self() === p);",
       "true\n"},
      {"inside its last NPP_SetWindow",
       "let p; let n = 0; window.end = () => { if (p && n++ === 0) destroyPlugin(p); };"
       "p = createPlugin({'call-in-setwindow': 'end'}); plugin.history(); destroyPlugin(p);"
       "console.log(plugin.history());",
       "SetWindow:0:0x0 Destroy\n"},
      {"with a timer of the module set",
       "const p = createPlugin({}); p.keep(() => console.log('tick')); p.tick(1); destroyPlugin(p);"
       "console.log('quiet');",
       "quiet\n"},
      {"while it fetches in NPP_Destroy",
       "const p = createPlugin({'fetch-in-destroy': 'yes'}); plugin.history(); destroyPlugin(p);"
       "console.log(plugin.history());",
       "SetWindow:0:0x0 Destroy GetURL=2\n"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.label);
    const PageResult result = runPage(std::string(row.script) + "setTimeout(() => quit(0), 20);");
    EXPECT_EQ(result.out, row.expected);
    EXPECT_GE(result.code, 0);
    EXPECT_LE(result.code, 1);
  }
}

TEST_F(PluginLife, deliversCallsFromThreadsInOrderAndDropsThoseOfTheDead) {
  const PageResult result = runPage(R"(
    plugin.keep((n) => console.log('call', n));
    plugin.callLater(3);
    console.log('posted');
    const p = createPlugin({});
    p.keep(() => console.log('never'));
    p.callLater(2);
    destroyPlugin(p);
    const q = createPlugin({});
    q.keep(() => console.log('nor under another instance at the same address'));
    setTimeout(() => quit(0), 50);)");
  EXPECT_EQ(result.out, "posted\ncall 1\ncall 2\ncall 3\n");
  EXPECT_EQ(result.code, 0);
}

TEST_F(PluginLife, bearsThreadsThatCallAfterThePagesEnd) {
  const PageResult result = runPage("plugin.callForEver(); setTimeout(() => quit(3), 20);");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.code, 3);
}

TEST_F(PluginLife, runsThePageInsideANestedLoop) {
  const PageResult result = runPage(R"(
    plugin.keep((n) => console.log('async', n));
    let nested = true;
    setTimeout(() => console.log('timer', nested), 5);
    plugin.callLater(1);
    const p = createPlugin({});
    p.tick(1000);
    setTimeout(() => destroyPlugin(p), 10);
    p.nest(60);
    nested = false;
    console.log('after');
    let ticks = 0;
    const timer = plugin.tick(1);
    plugin.keep((n) => { if (++ticks === 3) { plugin.stopTicking(timer); quit(0); } });)");
  EXPECT_EQ(result.out, "async 1\ntimer true\nafter\n");
  EXPECT_EQ(result.code, 0);
}

TEST_F(PluginLife, endsInOrderWhenThePageQuitsInsideANestedLoop) {
  setenv("PROBE_TRACE", "1", 1);
  const PageResult result = runPage("setTimeout(() => quit(5), 10); plugin.nest(20000);");
  EXPECT_THAT(result.out, HasSubstr("SetWindow:0:0x0\nDestroy\n"));
  EXPECT_EQ(result.code, 5);
}

TEST_F(PluginLife, blamesTheModuleForBreakingTheRules) {
  const std::string blame = "orvane-page-host: the module called ";
  const PageResult ended = runPage("plugin.useEnded(); quit(0);");
  EXPECT_EQ(ended.err, blame + "NPN_GetValue for an instance that does not exist\n");
  EXPECT_EQ(ended.code, 1);
  const PageResult offThread = runPage("plugin.callOffThread();");
  EXPECT_EQ(offThread.err, blame + "NPN_RetainObject off the main thread\n");
  EXPECT_EQ(offThread.code, -SIGABRT);
}

}  // namespace
}  // namespace test_support
