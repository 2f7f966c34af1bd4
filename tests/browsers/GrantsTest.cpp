// Where a page may write: every sequence of what changes the user's grant and what needs it.

#include <algorithm>
#include <mutex>
#include <optional>
#include <utility>

#include "browsers/npapi_common/DialogCallback.h"
#include "os/src/FileDialog.h"
#include "plugin/src/PlugIn.h"
#include "tests/browsers/PluginFixture.h"

namespace {

using namespace test_support;
using Paths = std::vector<std::string>;

const std::string kUnauthorized =
    "The website attempted to transfer to an unauthorized directory: ";
const std::string kSaved = "/home/u/saved.bin";
const std::string kFolder = "/home/u/dl";
const std::string kSource = "http://host/file";

// A dialog that the user has answered.
class AnsweredDialog : public Pellion::Web::FileDialog {
 public:
  explicit AnsweredDialog(Paths paths) : FileDialog(0, ""), _paths(std::move(paths)) {
    init("");
    run();
  }

 private:
  struct Impl : Pellion::Web::IDialogImpl {
    explicit Impl(Paths picked) : paths(std::move(picked)) {}
    void doClose() override {}
    Paths doShow() override { return paths; }
    const Paths paths;
  };
  std::unique_ptr<Pellion::Web::IDialogImpl> createImpl(GtkWindow*) const override {
    return std::make_unique<Impl>(_paths);
  }
  const char* errorText() const override { return ""; }

  const Paths _paths;
};

std::string spec(bool absolute, const std::string& direction, const std::string& root) {
  return "{\"orvane_pellion_settings\":{\"use_absolute_destination_path\":" +
         std::string(absolute ? "true" : "false") + "},\"transfer_spec\":{\"direction\":\"" +
         direction + "\",\"destination_root\":\"" + root + "\"}}";
}
std::string body(const std::string& specs, const std::string& appId = "app") {
  return "{\"orvane_pellion_settings\":{\"app_id\":\"" + appId + "\"},\"transfer_specs\":[" +
         specs + "]}";
}

std::string transfer(const std::string& content) {
  return "<xferreq xmlns=\"http://schema.orvane.example/xml/xferreq/\">" + content + "</xferreq>";
}

class Grants : public PluginSandbox {
 protected:
  Grants() {
    unsetenv("DISPLAY");
    serve([this](int connection, const std::string& request, size_t) {
      if (request.find("GET /v4/pellion/version ") != 0) {
        std::lock_guard<std::mutex> lock(mutex);
        received.push_back(request);
      }
      sendAll(connection, httpResponse("{}"));
    });
    create();
  }
  ~Grants() override { destroy(), server.reset(); }

  std::string request(const std::string& data, const std::string& path = "/v4/transfers/start") {
    return std::get<std::string>(*call("pellionHttpRequest", {"POST", path, data}));
  }
  Paths takeReceived() {
    std::lock_guard<std::mutex> lock(mutex);
    return std::exchange(received, {});
  }

  std::mutex mutex;
  Paths received;  // guarded by mutex
};

// What can happen; each function does it and answers what the rules that a page's author and a user
// rely on say, apart from the code: the body that reaches the application, or nothing.
class GrantTable : public Grants {
 protected:
  using Expected = std::optional<std::string>;

  GrantTable() {
    Pellion::Web::Utils::logCleanup();  // Its lines would take most of the time.
    call("addToDownloadList", {kSource});
  }

  bool covers(const std::string& path) const {
    return !grant.empty() && path.size() >= grant.size() &&
           grant.find(path[0]) != std::string::npos &&
           (path.size() == grant.size() || path[grant.size()] == '/');
  }
  Expected pick(DialogCallback::Type type, const Paths& paths) {
    AnsweredDialog dialog(paths);
    DialogCallback(instance, 0, browser.window(), type, std::make_shared<int>())
        .handleCallback(static_cast<Pellion::Web::Runnable*>(&dialog));
    if (type != DialogCallback::eOpenFile && !paths.empty()) {
      grant = paths[0];
      place = paths[0].empty() ? place : paths[0];
    }
    return std::nullopt;
  }
  Expected download(const std::string& destination, bool ofList = false) {
    ofList ? call("startListDownloadToPath", {destination})
           : call("startDownloadToPath", {kSource, destination});
    if (!destination.empty() && !covers(destination)) {
      return std::nullopt;
    }
    grant.clear();
    return transfer("<src>" + kSource + "</src>" +
                    (destination.empty() ? "" : "<dest>file://" + destination + "</dest>"));
  }
  Expected send(const std::string& data, const std::string& error) {
    EXPECT_EQ(error.empty() ? "{}" : R"({"error":{"code":-1,"user_message":")" + error + "\"}}",
              request(data));
    return error.empty() ? Expected(data) : std::nullopt;
  }
  Expected absolute(const std::string& destination, const std::string& more = "") {
    const bool allowed = covers(destination);
    grant = allowed ? "" : grant;
    return send(body(spec(true, "receive", destination) + more),
                allowed ? "" : kUnauthorized + destination);
  }
  Expected other(const std::string& first) {
    grant = first.empty() ? grant : "";
    return send(body(first), "");
  }
  Expected upload(bool dropped) {
    dropped ? plugin->getPlugin()->uploadDroppedFiles({"/etc/any"})
            : (call("startUploadToURL", {"/etc/any", "http://up/"}), false);
    grant.clear();
    return transfer("<src>file:///etc/any</src>" +
                    std::string(dropped ? "" : "<dest>http://up/</dest>"));
  }

  // Every sequence of `length` of the first `count` events, compared step by step.
  void runAll(size_t count, int length) {
    ASSERT_LE(count, events.size());
    std::vector<size_t> sequence(static_cast<size_t>(length));
    auto next = sequence.end();
    do {
      grant = "";
      place = kFolder;
      plugin->getPlugin()->setLastSelectedPath("");
      for (const size_t event : sequence) {
        const Expected expected = events[event].second();
        const Paths got = takeReceived();
        EXPECT_EQ(expected ? 1u : 0u, got.size());
        EXPECT_EQ(expected.value_or(""), got.empty() ? "" : bodyOf(got[0]));
      }
      for (size_t i = 0; HasFailure() && i < sequence.size(); ++i) {
        ADD_FAILURE() << i + 1 << ": " << events[sequence[i]].first;
      }
      next = std::find_if(sequence.begin(), sequence.end(),
                          [count](size_t& event) { return ++event %= count; });
    } while (next != sequence.end() && !HasFailure());
  }

  std::string grant;
  std::string place;  // the last pick, for what follows to aim at
  const std::vector<std::pair<const char*, std::function<Expected()>>> events = {
      {"save", [&] { return pick(DialogCallback::eSaveFile, {kSaved}); }},
      {"folder", [&] { return pick(DialogCallback::eOpenFolder, {kFolder}); }},
      {"open", [&] { return pick(DialogCallback::eOpenFile, {"/home/u/picked"}); }},
      {"save cancelled", [&] { return pick(DialogCallback::eSaveFile, {""}); }},
      {"folder cancelled", [&] { return pick(DialogCallback::eOpenFolder, {}); }},
      {"download there", [&] { return download(place); }},
      {"download below", [&] { return download(place + "/sub"); }},
      {"download beside", [&] { return download(place + "2"); }},
      {"absolute there", [&] { return absolute(place); }},
      {"absolute elsewhere", [&] { return absolute("/home/u/some/other/place"); }},
      {"other request", [&] { return other(""); }},
      // From here on in shorter sequences.
      {"two folders",
       [&] {
         return pick(DialogCallback::eOpenFolder, {"/home/u/2", kFolder});
       }},
      {"open cancelled", [&] { return pick(DialogCallback::eOpenFile, {}); }},
      {"of the same length", [&] { return download("/" + place.substr(2) + "_"); }},
      {"slash at that length", [&] { return download("/" + place.substr(2) + "_/x"); }},
      {"with dots", [&] { return download(place + "/../../any"); }},
      {"list download below", [&] { return download(place + "/sub", true); }},
      {"list download beside", [&] { return download(place + "2", true); }},
      {"download anywhere", [&] { return download(""); }},
      {"upload", [&] { return upload(false); }},
      {"drop", [&] { return upload(true); }},
      {"upload spec", [&] { return other(spec(true, "send", "/etc")); }},
      {"relative spec", [&] { return other(spec(false, "receive", "/etc")); }},
      {"second spec", [&] { return absolute(place, "," + spec(true, "receive", "/etc")); }},
      {"other host", [&] {
         return send(body(spec(true, "receive", place), "^other"),
                     "Invalid application ID hostname: www.orvane.example");
       }}};
};

TEST_F(GrantTable, holdsForEverySequence) {
  runAll(11, 4);
}

TEST_F(GrantTable, holdsForEveryShorterSequenceOfAllEvents) {
  runAll(events.size(), 3);
}

TEST_F(Grants, areUsedUpAlsoWhenTheApplicationIsGone) {
  for (const bool spoken : {false, true}) {
    plugin->getPlugin()->setLastSelectedPath(kFolder);
    server.reset();
    spoken ? request(body(spec(true, "receive", kFolder)))
           : call("startDownloadToPath", {kSource, kFolder});
    EXPECT_FALSE(plugin->getPlugin()->allowDestRoot(kFolder));
  }
}

// What goes round the grant, and must be stopped by the application.
TEST_F(Grants, areNotAskedForARequestWithinARequest) {
  const std::string inner = transfer("<src>" + kSource + "</src><dest>file:///etc</dest>");
  const std::string text =
      "/x HTTP/1.1\r\nContent-Length: 0\r\n\r\nPOST /transfers/ HTTP/1.1\r\n"
      "Content-Length: " +
      std::to_string(inner.size()) + "\r\n\r\n" + inner;
  request("{}", text);
  EXPECT_EQ(0u, takeReceived().at(0).find("POST " + text + " HTTP/1.1\r\n"));
  call("pellionHttpRequest", {"GET " + text, "/", ""});
  EXPECT_EQ(0u, takeReceived().at(0).find("GET " + text + " / HTTP/1.1\r\n"));
}

// Of a repeated member the first counts; a text counts up to its first zero character. What the
// application makes of either is its own.
TEST_F(Grants, areAskedForByWhatTheParserHereReads) {
  const std::string elsewhere = spec(true, "receive", "/etc");
  const std::string twice = "{\"transfer_spec\":{\"direction\":\"send\"},";
  const struct {
    std::string data;
    bool sent;
  } cases[] = {
      {"{\"transfer_specs\":[],\"transfer_specs\":[" + elsewhere + "]}", true},
      {"{\"transfer_specs\":[" + elsewhere + "],\"transfer_specs\":[]}", false},
      {body(twice + elsewhere.substr(1)), true},
      {body(spec(true, "receive", kFolder + "\\u0000/../any")), true},
      {body(spec(true, "receive\\u0000", "/etc")), false},
      {"{\"transfer\\u005fspecs\":[" + elsewhere + "]}", false},
      {"{\"Transfer_specs\":[" + elsewhere + "]}", true},
  };
  for (const auto& row : cases) {
    plugin->getPlugin()->setLastSelectedPath(kFolder);
    EXPECT_EQ(
        row.sent ? "{}" : R"({"error":{"code":-1,"user_message":")" + kUnauthorized + "/etc\"}}",
        request(row.data));
    const Paths got = takeReceived();
    ASSERT_EQ(row.sent ? 1u : 0u, got.size()) << row.data;
    EXPECT_EQ(row.sent ? row.data : "", row.sent ? bodyOf(got[0]) : "");
  }
}

}  // namespace
