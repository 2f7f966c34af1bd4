#include <gmock/gmock.h>

#include <mutex>

#include "plugin/src/TransfersPoller.h"
#include "tests/plugin/LoggedSandbox.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/WaitFor.h"

namespace {

using test_support::bodyOf;
using test_support::httpResponse;
using test_support::ScriptedServer;
using test_support::sendAll;
using test_support::waitFor;
using testing::ElementsAre;

class TransfersPoller : public LoggedSandbox {
 protected:
  // Notes "NAME BODY" for every event.
  class Listener : public Pellion::Web::TransferEventListener {
   public:
    Listener(TransfersPoller* test, std::string name) : _test(test), _name(std::move(name)) {}
    void transferEventOccurred(const std::string& data) override {
      std::lock_guard<std::mutex> lock(_test->_mutex);
      _test->_events.push_back(_name + " " + data);
    }

   private:
    TransfersPoller* _test;
    std::string _name;
  };

  std::vector<std::string> events() {
    std::lock_guard<std::mutex> lock(_mutex);
    return _events;
  }
  void finish() {
    poller.stop();
    poller.join();
    poller.reap();
    EXPECT_TRUE(poller.isDone());
  }

  Pellion::Web::TransfersPoller poller;

 private:
  std::mutex _mutex;
  std::vector<std::string> _events;
};

std::string bodyWith(const std::string& token) {
  return "{\n    \"iteration_token\": \"" + token +
         "\",\n    \"orvane_pellion_settings\" : {\n        \"app_id\": \"app 1\"\n    }\n}\n";
}

TEST_F(TransfersPoller, carriesTheTokenAndHandsGoodAnswersToItsListeners) {
  const std::string answers[] = {R"({"iteration_token":"t1"})", "no JSON",
                                 R"({"iteration_token":"t2","error":null})", R"({"transfers":[]})",
                                 "{}"};
  ScriptedServer server([&](int connection, const std::string&, size_t index) {
    const bool last = index >= 4;
    sendAll(connection, httpResponse(answers[last ? 4 : index], "500 Still good"));
  });
  writeUrlFile(server.port());
  Listener a(this, "a"), b(this, "b"), stranger(this, "stranger");
  poller.setAppId("app 1");
  for (Listener* listener : {&b, &a, &b}) {
    poller.addListener(listener);
  }
  poller.start();
  ASSERT_TRUE(waitFor([&] { return events().size() == 3; }));
  poller.removeListener(&b);
  poller.removeListener(&stranger);
  ASSERT_TRUE(waitFor([&] { return events().size() >= 7; }));
  finish();

  std::vector<std::string> seen = events();
  seen.resize(7);
  EXPECT_THAT(
      seen, ElementsAre("b " + answers[0], "a " + answers[0], "b " + answers[0], "a " + answers[3],
                        "b " + answers[3], "a " + answers[4], "b " + answers[4]));
  const std::string first = bodyWith("");
  EXPECT_EQ(server.requests()[0],
            "POST /v4/transfers/activity HTTP/1.1\r\nConnection: close\r\nContent-Length: " +
                std::to_string(first.size()) +
                "\r\nContent-Type: application/vnd.orvane.xferreq+json\r\n"
                "User-Agent: Orvane Pellion\r\n\r\n" +
                first);
  const char* kTokens[] = {"", "t1", "t1", "t1", ""};
  for (size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(bodyOf(server.requests()[i]), bodyWith(kTokens[i])) << i;
  }
  EXPECT_EQ(logLines("Error parsing JSON: ").size(), 1u);
  EXPECT_EQ(logLines("Transfer poller response contained an error: " + answers[2]).size(), 1u);
  EXPECT_EQ(logLines("removeListener() - removed").size(), 1u);
}

TEST_F(TransfersPoller, withoutAnAddressItIdlesAndLaunchesNothing) {
  installApplication("#!/bin/sh\ntouch " + path("launched") + "\n");
  poller.setAppId("app");
  poller.start();
  ASSERT_TRUE(waitFor([&] { return !logLines("Failed to read Orvane Pellion URL").empty(); }));
  finish();
  EXPECT_EQ(test_support::readFile(path("launched")), "");
  EXPECT_EQ(logLines("Launching").size(), 0u);
}

TEST_F(TransfersPoller, anAnswerThatArrivesAfterTheStopIsDropped) {
  ScriptedServer server([&](int connection, const std::string&, size_t) {
    poller.stop();
    sendAll(connection, httpResponse("{}"));
  });
  writeUrlFile(server.port());
  Listener listener(this, "a");
  poller.addListener(&listener);
  poller.start();
  ASSERT_TRUE(waitFor([&] { return poller.isDone(); }));
  finish();
  EXPECT_THAT(events(), ElementsAre());
  EXPECT_EQ(server.requestCount(), 1u);
}

TEST_F(TransfersPoller, misuseFailsAnAssertion) {
  EXPECT_DEATH({ Pellion::Web::TransfersPoller().start(); }, "!_started \\|\\| isDone\\(\\)");
  EXPECT_DEATH(poller.addListener(nullptr), "l != __null");
  EXPECT_DEATH(poller.removeListener(nullptr), "l != __null");
}

}  // namespace
