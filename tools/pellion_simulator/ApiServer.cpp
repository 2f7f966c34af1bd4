#include "tools/pellion_simulator/ApiServer.h"

#include <sys/socket.h>

#include <chrono>
#include <stdexcept>

#include "tools/json/JsonError.h"
#include "tools/json/JsonWriter.h"
#include "tools/pellion_simulator/ActivityReport.h"
#include "tools/pellion_simulator/ApiError.h"
#include "tools/pellion_simulator/Log.h"
#include "tools/pellion_simulator/RequestGuard.h"

using json::JsonWriter;

namespace pellion_simulator {

namespace {

const char kAddress[] = "127.0.0.1";
const char kJson[] = "application/json";
const size_t kLargestBody = size_t{16} * 1024 * 1024;
const time_t kIdleSeconds = 2;
const std::string kWindows = "/windows/";

std::string startedDocument(const std::vector<std::string>& ids) {
  JsonWriter json;
  json.openObject().key("transfers").openArray();
  for (const std::string& id : ids) {
    json.openObject().key("id").value(id).closeObject();
  }
  return json.closeArray().closeObject().text();
}

void answerError(int status, const std::string& message, const httplib::Request& request,
                 httplib::Response* response) {
  logLine(request.method + " " + request.path + ": " + std::to_string(status) + " " + message);
  response->status = status;
  response->set_content(errorDocument(status, message), kJson);
}

// What the server itself refused, before any handler saw it.
std::string refusalText(int status, const httplib::Request& request) {
  switch (status) {
    case 404:
      return "Unknown path: " + request.path;
    case 413:
      return "The body is larger than " + std::to_string(kLargestBody) + " bytes";
    case 414:
      return "The path is too long";
    default:
      return "The request is not valid HTTP, or its method is not known";
  }
}

}  // namespace

struct ApiServer::Route {
  const char* method;
  std::string path;
  bool isPrefix;
  Answer answer;
};

const ApiServer::Route ApiServer::kRoutes[] = {
    {"GET", "/v4/pellion/version", false, &ApiServer::version},
    {"POST", "/v4/pellion/exit", false, &ApiServer::exit},
    {"POST", "/transfers/", false, &ApiServer::startByXml},
    {"POST", "/v4/transfers/start", false, &ApiServer::startByJson},
    {"POST", "/v4/transfers/activity", false, &ApiServer::activity},
    {"GET", kWindows, true, &ApiServer::showWindow},
};

ApiServer::ApiServer(TransferQueue* queue, Steps steps) : _queue(queue), _steps(std::move(steps)) {
  configure();
}

ApiServer::~ApiServer() {
  stop();
}

void ApiServer::configure() {
  const httplib::Server::Handler handler = [this](const auto& request, auto& response) {
    handle(request, response);
  };
  // The library would wait for the body of a request that announces none.
  _server.set_pre_routing_handler([handler](const auto& request, auto& response) {
    if (request.has_header("Content-Length") || request.has_header("Transfer-Encoding")) {
      return httplib::Server::HandlerResponse::Unhandled;
    }
    handler(request, response);
    return httplib::Server::HandlerResponse::Handled;
  });
  const char anyPath[] = "[\\s\\S]*";
  _server.Get(anyPath, handler).Post(anyPath, handler).Put(anyPath, handler);
  _server.Patch(anyPath, handler).Delete(anyPath, handler).Options(anyPath, handler);
  _server.set_error_handler([](const httplib::Request& request, httplib::Response& response) {
    if (response.body.empty()) {
      answerError(response.status, refusalText(response.status, request), request, &response);
    }
  });
  // A connection serves one request: what a client sent beyond it is not taken for the next one.
  _server.set_keep_alive_max_count(1);
  _server.set_keep_alive_timeout(kIdleSeconds);
  _server.set_read_timeout(kIdleSeconds);
  _server.set_payload_max_length(kLargestBody);
  _server.set_tcp_nodelay(true);
  // Not the library's default, which lets two programs share a port.
  _server.set_socket_options([](int fd) {
    const int yes = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
  });
}

int ApiServer::start(int port) {
  if (port == 0) {
    port = _server.bind_to_any_port(kAddress);
  } else if (!_server.bind_to_port(kAddress, port)) {
    throw std::runtime_error("cannot listen on port " + std::to_string(port) +
                             ": another program may use it");
  }
  if (port <= 0) {
    throw std::runtime_error("cannot listen on the loopback interface");
  }
  _thread = std::thread([this] { _server.listen_after_bind(); });
  // stop() has an effect only on a server that runs.
  while (!_server.is_running()) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return port;
}

void ApiServer::stopListening() {
  if (_thread.joinable()) {
    _server.stop();
  }
}

void ApiServer::stop() {
  if (_thread.joinable()) {
    _server.stop();
    _thread.join();
  }
}

void ApiServer::handle(const httplib::Request& request, httplib::Response& response) {
  try {
    checkRequestIsLocal(request);
    response.set_content((this->*findRoute(request))(request), kJson);
  } catch (const ApiError& error) {
    if (error.status() == 405) {
      response.set_header("Allow", request.method == "GET" ? "POST" : "GET");
    }
    answerError(error.status(), error.what(), request, &response);
  } catch (const json::JsonError& error) {
    answerError(400, error.what(), request, &response);
  } catch (const std::exception& error) {
    answerError(500, error.what(), request, &response);
  }
}

ApiServer::Answer ApiServer::findRoute(const httplib::Request& request) const {
  bool pathKnown = false;
  for (const Route& route : kRoutes) {
    const size_t length = route.isPrefix ? route.path.size() : std::string::npos;
    if (request.path.substr(0, length) != route.path) {
      continue;
    }
    if (request.method == route.method) {
      return route.answer;
    }
    pathKnown = true;
  }
  if (pathKnown) {
    throw ApiError(405, request.method + " is not allowed for " + request.path);
  }
  throw ApiError(404, "Unknown path: " + request.path);
}

std::string ApiServer::version(const httplib::Request&) {
  JsonWriter json;
  json.openObject().key("product").value("Orvane Pellion").key("version").value(ORVANE_VERSION);
  return json.key("api_version").value("4").key("simulator").value(true).closeObject().text();
}

std::string ApiServer::exit(const httplib::Request&) {
  // The body gives a reason in a notation of the client's own; nothing depends on it.
  logLine("A client asks this program to exit");
  _steps.exit();
  return JsonWriter().openObject().key("exiting").value(true).closeObject().text();
}

std::string ApiServer::startByXml(const httplib::Request& request) {
  return startedDocument({_queue->add(parseXferreq(request.body))});
}

std::string ApiServer::startByJson(const httplib::Request& request) {
  std::vector<std::string> ids;
  for (TransferRequest& transfer : parseTransferSpecs(request.body)) {
    ids.push_back(_queue->add(std::move(transfer)));
  }
  return startedDocument(ids);
}

std::string ApiServer::activity(const httplib::Request& request) {
  return activityReport(*_queue, request.body);
}

std::string ApiServer::showWindow(const httplib::Request& request) {
  // "/windows/<name>/", with an argument behind it that no window takes yet.
  const std::string rest = request.path.substr(kWindows.size());
  const std::string name = rest.substr(0, rest.find('/'));
  if (name != "about" && name != "preferences" && name != "transfer-manager") {
    throw ApiError(404, "Unknown window: " + name);
  }
  _steps.showWindow(name);
  return JsonWriter().openObject().key("window").value(name).closeObject().text();
}

}  // namespace pellion_simulator
