#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "tests/page_host/PageRunner.h"

namespace test_support {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class PageScript : public PageRunner {};

TEST_F(PageScript, carriesValuesIdentitiesAndRefusalsBothWays) {
  const struct {
    const char *expression, *expected;
  } kRows[] = {
      // What the module is given.
      {"plugin.kinds(undefined, null, true, 1, 1.5, 'x', {}, [], plugin, () => 0)",
       "void null bool double double string object object object object"},
      {"plugin.kinds()", ""},
      {"plugin.hexOf('')", ""},
      {"plugin.hexOf('a\\0b')", "610062"},
      {"plugin.hexOf('\\u00e9\\u20ac\\u{1F600}')", "c3a9e282acf09f9880"},
      {"plugin.hexOf('\\ud83dx\\ude00')", "efbfbd78efbfbd"},
      // What comes back.
      {"[undefined, null, false, -0.5, 'x\\0y', plugin].every(v => plugin.echo(v) === v)", "true"},
      {"(o => plugin.echo(o) === o)({}) && (f => plugin.echo(f) === f)(() => 0)", "true"},
      {"plugin.self() === plugin && plugin.self === plugin.self", "true"},
      {"plugin.fromHex('610062').length", "3"},
      {"plugin.fromHex('f09f9880') === '\\u{1F600}'", "true"},
      {"[...plugin.fromHex('61ffc0afeda080e28261')].map(c => c.codePointAt(0).toString(16)).join()",
       "61,fffd,fffd,fffd,fffd,fffd,fffd,fffd,fffd,61"},
      {"plugin.nullString() === ''", "true"},
      {"isNaN(plugin.echo(NaN)) && plugin.echo(1e308 * 10)", "Infinity"},
      // The script object as the page sees it.
      {"typeof plugin + ' ' + typeof plugin.kinds + ' ' + typeof plugin.nothing",
       "object function undefined"},
      {"plugin.kinds.call(plugin, 1) + plugin.kinds.apply(plugin, [null])", "doublenull"},
      {"'value' in plugin && 'kinds' in plugin && !('nothing' in plugin)", "true"},
      {"(plugin.value = 2.5, plugin.value)", "2.5"},
      {"plugin[3] === plugin.value && plugin[4] === undefined", "true"},
      {"Object.keys(plugin).join()", "value,fixed"},
      {"(delete plugin.value, plugin.value)", "2.5"},
      {"(plugin.extra = 5, plugin.extra)", "5"},
      // The page as the module sees it.
      {"plugin.get({a: 'b'}, 'a') + plugin.get({}, 'a')", "bundefined"},
      {"(o => (plugin.set(o, 'n', 4), o.n))({})", "4"},
      {"[{a: 1}, {a() {}}, {}].map(o => plugin.about(o, 'a')).join()", "yny,yyy,nnn"},
      {"plugin.names({x: 1, y: 2, 7: 3})", "#7 x y"},
      {"plugin.invokeMember({k: 2, f(a, b) { return this.k + a + b; }}, 'f', 3, 4)", "9"},
      {"plugin.construct(class { constructor(a) { this.a = a; } }, 6).a", "6"},
      {"plugin.evaluate('window.answer = 6 * 7')", "42"},
      {"(plugin.keep(page), plugin.kept === page)", "true"},
      // What the module refuses is thrown.
      {"attempt(() => plugin.refuse())", "Error: Error calling method on NPObject."},
      {"attempt(() => plugin.raise('broken on purpose'))", "Error: broken on purpose"},
      {"attempt(() => plugin.fixed = 1) + plugin.fixed",
       "Error: Error setting property on NPObject.fixed"},
      {"attempt(() => plugin.invokeMember({}, 'missing'))",
       "Error: Error calling method on NPObject."},
      {"attempt(plugin.kinds)", "Error: The method was not called on a plugin object."},
      {"attempt(() => setTimeout('text', 1))", "Error: a timer needs a function"},
  };
  std::string script = "function attempt(f) { try { return f(); } catch (e) { return e; } }\n";
  std::string expected;
  for (const auto& row : kRows) {
    script += std::string("console.log(String(") + row.expression + "));\n";
    expected += std::string(row.expected) + "\n";
  }
  const PageResult result = runPage(script + "quit(0);");
  EXPECT_EQ(result.out, expected);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.code, 0);
}

TEST_F(PageScript, holdsAndReleasesObjectsAsTheModuleDoes) {
  const PageResult result = runPage(R"(
    for (let i = 0; i < 20000; ++i) {
      plugin.echo({i});
      plugin.kinds([i], () => i);
    }
    const before = page.heldObjects();
    plugin.keep({});
    const during = page.heldObjects();
    for (let i = 0; i < 20000; ++i) { plugin.kept; }
    plugin.keep();
    console.log(before, during, page.heldObjects());
    const other = createPlugin({leaky: true});
    other.keep({});
    destroyPlugin(other);
    console.log(page.heldObjects());
    quit(0);)");
  EXPECT_EQ(result.out, "0 1 0\n0\n");
  EXPECT_EQ(result.code, 0);
}

TEST_F(PageScript, releasesTheModulesObjectsThatItHasForgotten) {
  const PageResult result = runPage(R"(
    const kept = plugin.makeObject();
    kept.mark = 'kept';
    plugin.keep(kept);
    let made = 0;
    let freed = 0;
    setInterval(() => {
      for (let i = 0; i < 5000; ++i, ++made) {
        if (plugin.makeObject().mark !== undefined) throw new Error('not a new one');
      }
      freed += plugin.history().split('deallocate').length - 1;
      if (freed > 1000) {
        console.log(freed <= made, plugin.kept === kept, kept.mark);
        quit(0);
      }
    }, 1);)");
  EXPECT_EQ(result.out, "true true kept\n");
  EXPECT_EQ(result.code, 0);
}

TEST_F(PageScript, reportsExceptionsWithFileAndLineAndFailsTheRun) {
  const struct {
    const char *label, *script, *where, *message;
  } kRows[] = {
      {"while it is loaded", "\nfunction f() { null.x; }\nf();",
       "page.js:2:", "Uncaught TypeError"},
      {"syntax", "let a = 1;\nlet b = ;", "page.js:2: ", "Uncaught SyntaxError"},
      {"timer", "setTimeout(() => quit(0), 20);\n\nsetTimeout(() => { throw new Error('t'); }, 1);",
       "page.js:3:", "Uncaught Error: t"},
      {"rejection", "setTimeout(() => quit(0), 20);\nPromise.reject(new RangeError('r'));",
       "page.js:2:", "Uncaught RangeError: r"},
      {"async function", "setTimeout(() => quit(0), 20);\n(async () => { await 0;\nnope(); })();",
       "page.js:3:", "Uncaught ReferenceError"},
      {"callback of the module", "plugin.keep(() => {\nnull.x; });\nplugin.callKept(); quit(0);",
       "page.js:2:", "Uncaught TypeError"},
      {"no error object", "setTimeout(() => quit(0), 20);\nthrow 'text';", "Uncaught text", ""},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.label);
    const PageResult result = runPage(row.script);
    EXPECT_THAT(result.err, HasSubstr(row.where));
    EXPECT_THAT(result.err, HasSubstr(row.message));
    EXPECT_EQ(result.code, 1);
  }
}

TEST_F(PageScript, goesOnAfterAnExceptionUnlessToldToFailFast) {
  const std::string script =
      "setTimeout(() => { throw new Error('first'); }, 1);"
      "setTimeout(() => { console.log('still here'); quit(0); }, 30);";
  EXPECT_EQ(runPage(script).out, "still here\n");
  EXPECT_EQ(runPage(script, {"--fail-fast"}).out, "");
  const PageResult handled = runPage("Promise.reject(1).catch(() => quit(4));");
  EXPECT_EQ(handled.code, 4);
  EXPECT_EQ(handled.err, "");
}

TEST_F(PageScript, runsTimersAndPromisesInTheOrderOfBrowsers) {
  const PageResult result = runPage(R"(
    const say = (text) => () => console.log(text);
    setTimeout(say('late'), 40);
    setTimeout(say('early'), 10);
    setTimeout(say('next'), 10);
    setTimeout((a, b) => console.log(a, b), 1, 'with', 'arguments');
    clearTimeout(setTimeout(say('never'), 5));
    Promise.resolve().then(say('microtask'));
    let ticks = 0;
    const id = setInterval(() => { console.log('tick'); if (++ticks === 2) clearInterval(id); }, 50);
    console.log('script');
    const until = Date.now() + 25;
    while (Date.now() < until) {}
    setTimeout(() => quit(0), 200);)");
  EXPECT_EQ(result.out, "script\nmicrotask\nwith arguments\nearly\nnext\nlate\ntick\ntick\n");
  EXPECT_EQ(result.code, 0);
}

TEST_F(PageScript, offersThePageItsSurroundings) {
  for (const char* name : {"a", "b"}) {
    writeFile(path(name), std::string("one\0two", 7));
  }
  writeFile(path("c"), "one");
  writeFile(path("huge"), "");
  ASSERT_EQ(truncate(path("huge").c_str(), 3LL << 30), 0);
  ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
  setenv("PAGE_TEST", "from outside", 1);
  const PageResult result = runPage(
      R"(console.log(location.href, window.location.hostname, location.protocol, location.pathname);
      console.log(page.args.color, page.env('PAGE_TEST'), page.env('PAGE_NONE'));
      const dir = page.args.dir;
      console.log(page.sameFiles(dir + '/a', dir + '/b'), page.sameFiles(dir + '/a', dir + '/c'));
      console.log(page.fileSize(dir + '/a'), page.readFile(dir + '/a').length,
                  page.exists(dir + '/a'), page.exists(dir + '/none'));
      try { page.sameFiles(dir + '/a', dir + '/none'); } catch (e) { console.log(e.message); }
      for (const name of ['', '/pipe', '/huge']) {
        try { page.readFile(dir + name); } catch (e) { console.log(e.message); }
      }
      console.log(page.isTerminal, page.columns, page.hasWindow);
      console.log({a: [1, 'b']}, [undefined], undefined, null, new Error('e'), Symbol('s'));
      console.warn('warned');
      page.progress('x', 0.5, 'harmless');
      page.write('no newline');
      quit(300);)",
      {"--hostname", "www.example.com", "--arg", "color=blue=green", "--arg", "dir=" + home()});
  EXPECT_EQ(result.out,
            "http://www.example.com/page.js www.example.com http: /page.js\n"
            "blue=green from outside undefined\n"
            "true false\n"
            "7 7 true false\n"
            "cannot read " +
                path("none") + "\n" + "cannot read " + home() + "\n" + "cannot read " +
                path("pipe") + "\n" + "cannot read " + path("huge") +
                ": it is larger than 256 MiB\n" +
                "false 80 false\n"
                "{\"a\":[1,\"b\"]} [null] undefined null Error: e Symbol()\n"
                "no newline");
  EXPECT_EQ(result.err, "warned\n");
  EXPECT_EQ(result.code, 44);
}

TEST_F(PageScript, isRefusedWithASentenceWhenItCannotRun) {
  const std::string script = path("page.js");
  writeFile(script, "quit(0)");
  writeFile(path("nomodule.so"), "text");
  const struct {
    std::vector<std::string> arguments;
    const char* message;
  } kRows[] = {
      {{}, "which page script?"},
      {{"--module", probe(), path("none.js")}, "none.js cannot be read"},
      {{"--module", probe(), home()}, "cannot be read"},
      {{"--module", path("none.so"), script}, "there is no module"},
      {{"--module", path("nomodule.so"), script}, "the module cannot be loaded: "},
      {{"--module", probe(), "--param", "x", script}, "--param needs NAME=VALUE, not \"x\""},
      {{"--module", probe(), "--timeout", "soon", script}, "--timeout does not take \"soon\""},
      {{"--unheard-of", script}, "unknown or incomplete option"},
      {{"--module", probe(), "--param", "new=refuse", script},
       "refused to make an instance (error 5)"},
      {{"--module", probe(), "--window", script}, "--window needs a display"},
  };
  unsetenv("DISPLAY");
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.message);
    const PageResult result = runProgram(row.arguments);
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr(row.message));
  }
  const std::string nobody = path("nobody");  // where nobody can serve a display
  setenv("DISPLAY", nobody.c_str(), 1);
  EXPECT_EQ(runPage("quit(0);", {"--window"}).err,
            "orvane-page-host: --window needs a display, and " + nobody + " does not answer\n");
  EXPECT_THAT(runProgram({"--help"}).out, StartsWith("Usage: orvane-page-host [options]"));
  EXPECT_THAT(runProgram({"--version"}).out, StartsWith("orvane-page-host 3."));
}

TEST_F(PageScript, isEndedWhenItHangs) {
  const struct {
    const char* script;
    bool shutDown;
  } kRows[] = {{"setInterval(() => 0, 1000);", true},
               {"console.log('in'); for (;;) {}", false},
               {"plugin.hang();", false}};
  setenv("PROBE_TRACE", "1", 1);
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.script);
    const PageResult result = runPage(row.script, {"--timeout", "0.3"});
    EXPECT_EQ(result.code, 124);
    EXPECT_EQ(result.err, "orvane-page-host: the page was still running after 0.3 seconds\n");
    EXPECT_EQ(result.out.find("Shutdown") != std::string::npos, row.shutDown);
  }
}

}  // namespace
}  // namespace test_support
