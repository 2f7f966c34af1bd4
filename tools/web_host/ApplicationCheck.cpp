#include "tools/web_host/ApplicationCheck.h"

#include <gio/gio.h>
#include <glib.h>

#include <filesystem>
#include <memory>
#include <utility>

#include "gtk2/OnDemand.h"
#include "tools/json/JsonDocument.h"
#include "tools/json/JsonError.h"
#include "tools/json/JsonWriter.h"
#include "tools/npapi_host/MainLoop.h"

namespace fs = std::filesystem;

namespace web_host {
namespace {

const char kProgram[] = "orvane-web-check";
const unsigned kMilliseconds = 15000;

using Done = std::function<void(const std::string& json)>;

struct Check {
  Done done;
  guint timer = 0;
};

std::string errorJson(const std::string& text) {
  json::JsonWriter json;
  return json.openObject().key("error").value(text).closeObject().text();
}

std::string findProgram() {
  std::error_code ignored;
  const fs::path self = fs::read_symlink("/proc/self/exe", ignored).parent_path();
  for (const char* directory : {"../bin", "../web_check"}) {
    const fs::path file = (self / directory / kProgram).lexically_normal();
    if (fs::is_regular_file(file, ignored)) {
      return file;
    }
  }
  return kProgram;
}

// The text as it is when it is an object.
std::string checkedJson(const char* text) {
  try {
    const json::JsonDocument document(text != nullptr ? text : "");
    if (document.root().is(json::JsonValue::Kind::kObject)) {
      return text;
    }
  } catch (const json::JsonError&) {
    // said below
  }
  return errorJson(std::string(kProgram) + " did not answer.");
}

void onEnded(GObject* process, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<Check> check(static_cast<Check*>(data));
  char* output = nullptr;
  g_subprocess_communicate_utf8_finish(G_SUBPROCESS(process), result, &output, nullptr, nullptr);
  if (check->timer != 0) {
    g_source_remove(check->timer);
  }
  const std::string json = checkedJson(output);
  g_free(output);
  check->done(json);
}

}  // namespace

void checkApplication(const std::string& browser, Done done) {
  std::string reason;
  if (!gtk2::load(&reason)) {  // with which GIO comes
    return done(errorJson(std::string(kProgram) + " cannot be run: " + reason));
  }
  const std::string program = findProgram();
  const bool isKnown = browser == "firefox" || browser == "chromium";
  GError* error = nullptr;
  GSubprocess* process = g_subprocess_new(
      static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDOUT_PIPE |
                                    G_SUBPROCESS_FLAGS_STDERR_SILENCE),
      &error, program.c_str(), "--json", isKnown ? "--browser" : nullptr, browser.c_str(), nullptr);
  if (process == nullptr) {
    const std::string json = errorJson(std::string(kProgram) + " cannot be run: " + error->message);
    g_error_free(error);
    return done(json);
  }
  auto check = std::make_unique<Check>(Check{std::move(done)});
  Check* const waiting = check.get();
  check->timer = npapi_host::MainLoop::postLater(kMilliseconds, [waiting, process] {
    waiting->timer = 0;
    g_subprocess_force_exit(process);
  });
  g_subprocess_communicate_utf8_async(process, nullptr, nullptr, onEnded, check.release());
  g_object_unref(process);  // the communication holds it
}

}  // namespace web_host
