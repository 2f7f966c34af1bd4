#ifndef PELLION_SIMULATOR_API_SERVER_H_
#define PELLION_SIMULATOR_API_SERVER_H_

#include <httplib.h>

#include <functional>
#include <string>
#include <thread>

#include "tools/pellion_simulator/TransferQueue.h"

namespace pellion_simulator {

// The HTTP interface on the loopback device. Requests are answered on the server's own threads, all
// with a JSON body and its length. Order of calls: start, stopListening, stop.
class ApiServer {
 public:
  // The steps are called on a server thread: `showWindow` with "about", "preferences" or
  // "transfer-manager"; `exit` when a client asks the program to end. `queue` is borrowed and must
  // outlive this.
  struct Steps {
    std::function<void(const std::string& name)> showWindow;
    std::function<void()> exit;
  };
  ApiServer(TransferQueue* queue, Steps steps);
  // Stops.
  ~ApiServer();
  ApiServer(const ApiServer&) = delete;
  ApiServer& operator=(const ApiServer&) = delete;

  // Port 0: a free one. Returns the port; requests are answered from now on. Throws a runtime
  // error.
  int start(int port);
  // Refuses new connections; what has arrived is still answered.
  void stopListening();
  // Answers what has arrived and ends.
  void stop();

 private:
  using Answer = std::string (ApiServer::*)(const std::string& path, const std::string& body);
  struct Route;

  void configure();
  void configureLimits();
  // `reader`: null when the request has no body to read.
  void handle(const httplib::Request& request, const httplib::ContentReader* reader,
              httplib::Response* response);
  // A path has one method. Throws ApiError (404).
  static const Route& findRoute(const std::string& path);
  std::string version(const std::string& path, const std::string& body);
  std::string exit(const std::string& path, const std::string& body);
  std::string startByXml(const std::string& path, const std::string& body);
  std::string startByJson(const std::string& path, const std::string& body);
  std::string activity(const std::string& path, const std::string& body);
  std::string showWindow(const std::string& path, const std::string& body);

  TransferQueue* const _queue;
  const Steps _steps;
  httplib::Server _server;
  int _listener = -1;  // the server's
  std::thread _thread;

  static const Route kRoutes[];
};

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_API_SERVER_H_
