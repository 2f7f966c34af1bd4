#include "tools/pellion_simulator/ApiServer.h"

#include <sys/socket.h>

#include <chrono>
#include <stdexcept>

#include "tools/json/JsonError.h"
#include "tools/json/JsonWriter.h"
#include "tools/pellion_simulator/ActivityReport.h"
#include "tools/pellion_simulator/ApiError.h"
#include "tools/pellion_simulator/ConnectionThreads.h"
#include "tools/pellion_simulator/Log.h"
#include "tools/pellion_simulator/RequestGuard.h"

using json::JsonWriter;

namespace pellion_simulator {

namespace {

const char kAddress[] = "127.0.0.1";
const char kJson[] = "application/json";
const size_t kLargestBody = size_t{16} * 1024 * 1024;
// A client that is refused while it sends does not see the answer: so much is read, and dropped.
const size_t kMostRead = 4 * kLargestBody;
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
    case 416:
      return "The Range header is not valid";
    default:
      return "The request is not valid HTTP, or its method is not known";
  }
}

// Answers are short and always sent whole; the library would cut them.
void ignoreRanges(const httplib::Request& request) {
  const_cast<httplib::Request&>(request).ranges.clear();
}

// The library itself bounds only a body that announces its length.
std::string readBody(const httplib::Request& request, const httplib::ContentReader& reader,
                     const httplib::Response& response) {
  if (request.is_multipart_form_data()) {
    throw ApiError(400, "A body in several parts is not understood");
  }
  std::string body;
  size_t size = 0;
  const bool isWhole = reader([&](const char* data, size_t count) {
    size += count;
    if (size <= kLargestBody) {
      body.append(data, count);
    }
    return size <= kMostRead;
  });
  if (!isWhole || size > kLargestBody) {
    const int status = size > kLargestBody ? 413 : response.status;
    throw ApiError(status, refusalText(status, request));
  }
  return body;
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
    handle(request, nullptr, &response);
  };
  const httplib::Server::HandlerWithContentReader bodyHandler =
      [this](const auto& request, auto& response, const auto& reader) {
        handle(request, &reader, &response);
      };
  // The library would wait for the body of a request that announces none.
  _server.set_pre_routing_handler([handler](const auto& request, auto& response) {
    ignoreRanges(request);
    if (request.has_header("Content-Length") || request.has_header("Transfer-Encoding")) {
      return httplib::Server::HandlerResponse::Unhandled;
    }
    handler(request, response);
    return httplib::Server::HandlerResponse::Handled;
  });
  const char anyPath[] = "[\\s\\S]*";
  _server.Get(anyPath, handler).Options(anyPath, handler);
  _server.Post(anyPath, bodyHandler).Put(anyPath, bodyHandler);
  _server.Patch(anyPath, bodyHandler).Delete(anyPath, bodyHandler);
  _server.set_error_handler([](const httplib::Request& request, httplib::Response& response) {
    ignoreRanges(request);
    if (response.body.empty()) {
      answerError(response.status, refusalText(response.status, request), request, &response);
    }
  });
  configureLimits();
}

void ApiServer::configureLimits() {
  // A connection serves one request: what a client sent beyond it is not taken for the next one.
  _server.set_keep_alive_max_count(1);
  _server.set_keep_alive_timeout(kIdleSeconds);
  _server.set_read_timeout(kIdleSeconds);
  _server.set_payload_max_length(kLargestBody);
  _server.set_tcp_nodelay(true);
  _server.new_task_queue = [] { return new ConnectionThreads(); };
  // Not the library's default, which lets two programs share a port.
  _server.set_socket_options([this](int fd) {
    const int yes = 1;
    _listener = fd;
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
  // The library lets five connections wait, and the next one for a second.
  listen(_listener, SOMAXCONN);
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

void ApiServer::handle(const httplib::Request& request, const httplib::ContentReader* reader,
                       httplib::Response* response) {
  try {
    const std::string body = reader != nullptr ? readBody(request, *reader, *response) : "";
    checkRequestIsLocal(request);
    const Route& route = findRoute(request.path);
    if (request.method != route.method) {
      response->set_header("Allow", route.method);
      throw ApiError(405, request.method + " is not allowed for " + request.path);
    }
    response->set_content((this->*route.answer)(request.path, body), kJson);
  } catch (const ApiError& error) {
    answerError(error.status(), error.what(), request, response);
  } catch (const json::JsonError& error) {
    answerError(400, error.what(), request, response);
  } catch (const std::exception& error) {
    answerError(500, error.what(), request, response);
  }
}

const ApiServer::Route& ApiServer::findRoute(const std::string& path) {
  for (const Route& route : kRoutes) {
    if (path.compare(0, route.isPrefix ? route.path.size() : std::string::npos, route.path) == 0) {
      return route;
    }
  }
  throw ApiError(404, "Unknown path: " + path);
}

std::string ApiServer::version(const std::string&, const std::string&) {
  JsonWriter json;
  json.openObject().key("product").value("Orvane Pellion").key("version").value(ORVANE_VERSION);
  return json.key("api_version").value("4").key("simulator").value(true).closeObject().text();
}

std::string ApiServer::exit(const std::string&, const std::string&) {
  // The body gives a reason in a notation of the client's own; nothing depends on it.
  logLine("A client asks this program to exit");
  _steps.exit();
  return JsonWriter().openObject().key("exiting").value(true).closeObject().text();
}

std::string ApiServer::startByXml(const std::string&, const std::string& body) {
  return startedDocument({_queue->add(parseXferreq(body))});
}

std::string ApiServer::startByJson(const std::string&, const std::string& body) {
  std::vector<std::string> ids;
  for (TransferRequest& transfer : parseTransferSpecs(body)) {
    ids.push_back(_queue->add(std::move(transfer)));
  }
  return startedDocument(ids);
}

std::string ApiServer::activity(const std::string&, const std::string& body) {
  return activityReport(*_queue, body);
}

std::string ApiServer::showWindow(const std::string& path, const std::string&) {
  // "/windows/<name>/", with an argument behind it that no window takes yet.
  const std::string rest = path.substr(kWindows.size());
  const std::string name = rest.substr(0, rest.find('/'));
  if (name != "about" && name != "preferences" && name != "transfer-manager") {
    throw ApiError(404, "Unknown window: " + name);
  }
  _steps.showWindow(name);
  return JsonWriter().openObject().key("window").value(name).closeObject().text();
}

}  // namespace pellion_simulator
