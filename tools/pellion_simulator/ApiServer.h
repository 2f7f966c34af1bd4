#ifndef PELLION_SIMULATOR_API_SERVER_H_
#define PELLION_SIMULATOR_API_SERVER_H_

#include <httplib.h>

#include <functional>
#include <string>
#include <thread>

#include "tools/pellion_simulator/TransferQueue.h"

namespace pellion_simulator {

// The HTTP interface on the loopback device. Requests are answered on the server's own threads, all
// with a JSON body and its length. Order of calls:
// start, stopListening, stop.
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
  using Answer = std::string (ApiServer::*)(const httplib::Request& request);
  struct Route;

  void configure();
  void handle(const httplib::Request& request, httplib::Response& response);
  Answer findRoute(const httplib::Request& request) const;
  std::string version(const httplib::Request& request);
  std::string exit(const httplib::Request& request);
  std::string startByXml(const httplib::Request& request);
  std::string startByJson(const httplib::Request& request);
  std::string activity(const httplib::Request& request);
  std::string showWindow(const httplib::Request& request);

  TransferQueue* const _queue;
  const Steps _steps;
  httplib::Server _server;
  std::thread _thread;

  static const Route kRoutes[];
};

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_API_SERVER_H_
