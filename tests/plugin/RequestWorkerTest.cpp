#include <gmock/gmock.h>

#include <algorithm>
#include <mutex>
#include <stdexcept>

#include "plugin/src/HttpRequest.h"
#include "plugin/src/HttpResponse.h"
#include "plugin/src/RequestWorker.h"
#include "tests/plugin/FailingMemory.h"
#include "tests/plugin/JobFakes.h"
#include "tests/plugin/LoggedSandbox.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/WaitFor.h"

namespace {

using Pellion::Web::HttpRequest;
using Pellion::Web::HttpResponse;
using test_support::ScriptedServer;
using test_support::waitFor;
using testing::ElementsAre;

const char kVersion[] = "/v4/pellion/version";
const char kRequestError[] = "Error contacting Orvane Pellion.";

std::string pathOf(const std::string& request) {
  return request.substr(4, request.find(" HTTP") - 4);
}

class RequestWorker : public LoggedSandbox {
 protected:
  ~RequestWorker() override { EXPECT_EQ(FakeCallback::alive, 0); }

  // Queues a request whose callback notes the body of the response, or "none".
  void add(const std::string& path) {
    add(path, [this](void* data) { note(data); });
  }
  void add(const std::string& path, std::function<void(void*)> told) {
    auto* made = new HttpRequest("127.0.0.1", 1);
    made->setUri(path);
    made->setCallback(told ? new FakeCallback(std::move(told)) : nullptr);
    worker.addRequest(made);
  }
  void note(void* data) {
    std::lock_guard<std::mutex> lock(_mutex);
    _told.push_back(data ? static_cast<HttpResponse*>(data)->data() : "none");
  }
  std::vector<std::string> told() {
    std::lock_guard<std::mutex> lock(_mutex);
    return _told;
  }
  std::vector<std::string> requestedPaths() const {
    std::vector<std::string> paths;
    for (const std::string& request : server.requests()) {
      paths.push_back(pathOf(request));
    }
    return paths;
  }

  // Answers "/silent" with nothing and anything else with its path.
  ScriptedServer server{[](int connection, const std::string& request, size_t) {
    if (pathOf(request) != "/silent") {
      test_support::sendAll(connection, test_support::httpResponse(pathOf(request)));
    }
  }};
  Pellion::Web::RequestWorker worker;

 private:
  std::mutex _mutex;
  std::vector<std::string> _told;
};

TEST_F(RequestWorker, performsRequestsOneAfterTheOtherInArrivalOrder) {
  writeUrlFile(server.port());
  for (const char* path : {"/a", "/silent", "/b"}) {
    add(path);
  }
  worker.start();
  add("/c", [](void*) { throw std::runtime_error("bad callback"); });
  add("/silent", [](void*) { throw std::runtime_error("bad callback"); });
  add("/d", nullptr);
  add("/e");
  ASSERT_TRUE(waitFor([&] { return told().size() >= 4; }));
  worker.stop();
  worker.join();
  worker.reap();
  EXPECT_TRUE(worker.isDone());
  EXPECT_THAT(told(), ElementsAre("/a", "none", "/b", "/e"));
  // Each request follows its own check of the application, after the answer of the one before.
  EXPECT_THAT(requestedPaths(),
              ElementsAre(kVersion, "/a", kVersion, "/silent", kVersion, "/b", kVersion, "/c",
                          kVersion, "/silent", kVersion, "/d", kVersion, "/e"));
  EXPECT_EQ(logLines(kRequestError).size(), 2u);
  EXPECT_EQ(logLines("bad callback").size(), 2u);
}

TEST_F(RequestWorker, whateverFindsNoMemoryTheCallbackIsToldOnce) {
  writeUrlFile(server.port());
  add("/a");
  worker.processOneRequest();
  size_t requests = 1;
  for (bool failed = true; failed; ++requests) {
    add("/a", [this](void* data) {
      failing_memory::stop();
      note(data);
    });
    failing_memory::start(static_cast<int>(requests) - 1);
    worker.processOneRequest();
    failed = failing_memory::stop();
    ASSERT_EQ(told().size(), requests + 1);
  }
  EXPECT_EQ(told().back(), "/a");
  EXPECT_THAT(told(), testing::Each(testing::AnyOf("/a", "none")));
  const std::vector<std::string> all = told();
  EXPECT_EQ(logLines(kRequestError).size(),
            static_cast<size_t>(std::count(all.begin(), all.end(), "none")));
}

TEST_F(RequestWorker, aFailedLaunchIsReportedWithoutTheLockAndEvenAfterAStop) {
  add("/a", [&](void* data) {
    note(data);
    add("/b");
  });
  worker.processOneRequest();
  worker.stop();
  worker.processOneRequest();
  EXPECT_THAT(told(), ElementsAre("none", "none"));
  EXPECT_EQ(logLines(kRequestError).size(), 2u);

  // What was sent is not reported then.
  writeUrlFile(server.port());
  add("/c");
  worker.processOneRequest();
  worker.processOneRequest();
  EXPECT_THAT(requestedPaths(), ElementsAre(kVersion, "/c"));
  EXPECT_THAT(told(), ElementsAre("none", "none"));
}

}  // namespace
