#include <gmock/gmock.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <future>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "plugin/src/HttpRequest.h"
#include "plugin/src/HttpResponse.h"
#include "plugin/src/RequestWorker.h"
#include "plugin/src/Utils.h"
#include "tests/plugin/JobFakes.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/WaitFor.h"

namespace {

using Pellion::Web::HttpRequest;
using Pellion::Web::HttpResponse;
using test_support::httpResponse;
using test_support::ScriptedServer;
using test_support::sendAll;
using test_support::waitFor;
using testing::ElementsAre;

const char kVersionLine[] = "GET /v4/pellion/version HTTP/1.1";
const char kRequestError[] = "Error contacting Orvane Pellion.";

std::string requestLine(const std::string& request) {
  return request.substr(0, request.find("\r\n"));
}

class RequestWorker : public test_support::Sandbox {
 protected:
  RequestWorker() { Pellion::Web::Utils::logInit(); }
  ~RequestWorker() override {
    EXPECT_EQ(FakeCallback::alive, 0);
    Pellion::Web::Utils::logCleanup();
  }

  // Answers "/silent" with nothing and anything else with its path; "/slow" only after release().
  ScriptedServer::Script application() {
    return [this](int connection, const std::string& request, size_t) {
      const std::string path = requestLine(request).substr(4, request.find(" HTTP") - 4);
      if (path == "/slow") {
        _released.get_future().wait_for(std::chrono::seconds(20));
      }
      if (path != "/silent") {
        sendAll(connection, httpResponse(path));
      }
    };
  }
  void release() { _released.set_value(); }

  // A request whose callback notes the body of the response, or "none".
  HttpRequest* request(const std::string& path) {
    return request(path, [this](void* data) { note(data); });
  }
  HttpRequest* request(const std::string& path, std::function<void(void*)> told) {
    auto* made = new HttpRequest("127.0.0.1", 1);
    made->setUri(path);
    made->setCallback(new FakeCallback(std::move(told)));
    return made;
  }
  void note(void* data) {
    std::lock_guard<std::mutex> lock(_mutex);
    _told.push_back(data ? static_cast<HttpResponse*>(data)->data() : "none");
  }
  std::vector<std::string> told() {
    std::lock_guard<std::mutex> lock(_mutex);
    return _told;
  }
  bool waitForTold(size_t count) {
    return waitFor([&] { return told().size() >= count; });
  }
  static std::vector<std::string> requestLines(const ScriptedServer& server) {
    std::vector<std::string> lines;
    for (const std::string& bytes : server.requests()) {
      lines.push_back(requestLine(bytes));
    }
    return lines;
  }

  // The visible sequence of an owner.
  static void finish(Pellion::Web::RequestWorker* worker) {
    worker->stop();
    worker->join();
    worker->reap();
    EXPECT_TRUE(worker->isDone());
  }

 private:
  std::promise<void> _released;
  std::mutex _mutex;
  std::vector<std::string> _told;
};

TEST_F(RequestWorker, performsRequestsOneAfterTheOtherInArrivalOrder) {
  ScriptedServer server(application());
  writeUrlFile(server.port());
  Pellion::Web::RequestWorker worker;
  for (const char* path : {"/a", "/silent", "/b"}) {
    worker.addRequest(request(path));
  }
  worker.start();
  worker.addRequest(request("/c", [](void*) { throw std::runtime_error("bad callback"); }));
  auto* untold = request("/d");
  untold->setCallback(nullptr);
  worker.addRequest(untold);
  worker.addRequest(request("/e"));
  ASSERT_TRUE(waitForTold(4));
  finish(&worker);

  EXPECT_THAT(told(), ElementsAre("/a", "none", "/b", "/e"));
  // Each request follows its own check of the application, after the answer of the one before.
  const auto get = [](const char* path) { return std::string("GET ") + path + " HTTP/1.1"; };
  EXPECT_THAT(
      requestLines(server),
      ElementsAre(kVersionLine, get("/a"), kVersionLine, get("/silent"), kVersionLine, get("/b"),
                  kVersionLine, get("/c"), kVersionLine, get("/d"), kVersionLine, get("/e")));
  EXPECT_EQ(logLines(kRequestError).size(), 1u);
  EXPECT_EQ(logLines("bad callback").size(), 1u);
}

TEST_F(RequestWorker, aStopLetsTheRequestInFlightEndAndTellsNoCallback) {
  ScriptedServer server(application());
  writeUrlFile(server.port());
  auto worker = std::make_unique<Pellion::Web::RequestWorker>();
  worker->start();
  for (const char* path : {"/slow", "/1", "/2", "/3"}) {
    worker->addRequest(request(path));
  }
  ASSERT_TRUE(waitFor([&] { return server.requestCount() == 2; }));
  worker->stop();
  worker->addRequest(request("/late"));
  EXPECT_EQ(FakeCallback::alive, 5);
  release();
  finish(worker.get());

  EXPECT_THAT(requestLines(server), ElementsAre(kVersionLine, "GET /slow HTTP/1.1"));
  EXPECT_EQ(FakeCallback::alive, 4);
  worker.reset();
  EXPECT_EQ(FakeCallback::alive, 0);
  EXPECT_THAT(told(), ElementsAre());
}

// Keeps a thread in the wait that it is in, whatever wakes it, until this object goes.
class HeldInItsWait {
 public:
  explicit HeldInItsWait(std::thread* thread) {
    EXPECT_EQ(pipe(_gate), 0);
    signal(SIGUSR1, [](int) {
      _held = true;
      char nothing;
      while (read(_gate[0], &nothing, 1) < 0) {
      }
    });
    pthread_kill(thread->native_handle(), SIGUSR1);
    EXPECT_TRUE(waitFor([] { return _held.load(); }));
  }
  ~HeldInItsWait() { close(_gate[1]); }

 private:
  inline static int _gate[2];
  inline static std::atomic<bool> _held{false};
};

bool isAsleep(pid_t thread) {
  const std::string stat = "/proc/self/task/" + std::to_string(thread) + "/stat";
  return test_support::readFile(stat).find(") S ") != std::string::npos;
}

TEST_F(RequestWorker, aRequestQueuedJustBeforeTheStopIsSentButNotReported) {
  ScriptedServer server(application());
  writeUrlFile(server.port());
  Pellion::Web::RequestWorker worker;
  std::atomic<pid_t> id{0};
  std::thread thread([&] {
    id = gettid();
    worker.run();
  });
  EXPECT_TRUE(waitFor([&] { return !logLines("RequestWorker::run()").empty() && isAsleep(id); }));
  {
    const HeldInItsWait held(&thread);
    worker.addRequest(request("/last"));
    worker.stop();
    EXPECT_EQ(server.requestCount(), 0u);
  }
  thread.join();
  EXPECT_THAT(requestLines(server), ElementsAre(kVersionLine, "GET /last HTTP/1.1"));
  EXPECT_THAT(told(), ElementsAre());
}

TEST_F(RequestWorker, aFailedLaunchIsReportedWithoutTheLockAndEvenAfterAStop) {
  Pellion::Web::RequestWorker worker;
  worker.addRequest(request("/a", [&](void* data) {
    note(data);
    worker.addRequest(request("/b"));
  }));
  worker.processOneRequest();
  worker.stop();
  worker.processOneRequest();
  EXPECT_THAT(told(), ElementsAre("none", "none"));
  EXPECT_EQ(logLines(kRequestError).size(), 2u);

  // What was sent is not reported then.
  ScriptedServer server(application());
  writeUrlFile(server.port());
  worker.addRequest(request("/c"));
  worker.processOneRequest();
  worker.processOneRequest();
  EXPECT_THAT(requestLines(server), ElementsAre(kVersionLine, "GET /c HTTP/1.1"));
  EXPECT_THAT(told(), ElementsAre("none", "none"));
}

TEST_F(RequestWorker, aQueuedRequestFollowsTheApplicationToItsNewPort) {
  auto first = std::make_unique<ScriptedServer>(application());
  writeUrlFile(first->port());
  Pellion::Web::RequestWorker worker;
  worker.start();
  worker.addRequest(request("/before"));
  ASSERT_TRUE(waitForTold(1));

  ScriptedServer second(application());
  first.reset();
  writeUrlFile(second.port());
  worker.addRequest(request("/moved"));
  ASSERT_TRUE(waitForTold(2));
  finish(&worker);
  EXPECT_THAT(told(), ElementsAre("/before", "/moved"));
  EXPECT_EQ(second.requestCount(), 2u);
}

TEST_F(RequestWorker, thousandsOfShutdownsLoseNothing) {
  Pellion::Web::Utils::logCleanup();
  ScriptedServer server(application());
  writeUrlFile(server.port());
  const size_t threads = test_support::countThreads();
  for (int i = 0; i < 2000; ++i) {
    auto worker = std::make_unique<Pellion::Web::RequestWorker>();
    worker->start();
    for (int count = 0; count < i % 4; ++count) {
      worker->addRequest(request("/" + std::to_string(i)));
    }
    // Each turn is caught at another point of its work.
    std::this_thread::sleep_for(std::chrono::microseconds(i * 7 % 1000));
    worker->stop();
    const size_t toldAtStop = told().size();
    worker->join();
    worker->reap();
    worker.reset();
    ASSERT_EQ(told().size(), toldAtStop);
    ASSERT_EQ(FakeCallback::alive, 0);
  }
  EXPECT_TRUE(waitFor([&] { return test_support::countThreads() == threads; }));
  EXPECT_GT(told().size(), 100u);
  EXPECT_LT(told().size(), 2900u);
}

}  // namespace
