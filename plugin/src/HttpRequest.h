#ifndef PLUGIN_SRC_HTTPREQUEST_H_
#define PLUGIN_SRC_HTTPREQUEST_H_

#include <map>
#include <memory>
#include <string>

#include "plugin/src/Callback.h"

namespace Pellion::Web {

class HttpResponse;

// One HTTP/1.1 exchange with a server on this machine, over a connection of its own. Used by one
// thread at a time. Built first, then invoked once.
class HttpRequest {
 public:
  static constexpr char kGetMethod[] = "GET";
  static constexpr char kPostMethod[] = "POST";
  // As searched for in a response: with the colon, in exactly this case.
  static constexpr char kContentLength[] = "Content-Length:";

  // A GET without target, headers, body or callback.
  HttpRequest(const std::string& host, unsigned short port);
  ~HttpRequest();
  HttpRequest(const HttpRequest&) = delete;
  HttpRequest& operator=(const HttpRequest&) = delete;

  void setMethod(const std::string& method) { _method = method; }
  // Path and query; written to the request line as it is.
  void setUri(const std::string& uri) { _uri = uri; }
  void setPort(unsigned short port) { _port = port; }
  unsigned short port() const { return _port; }
  // Takes ownership.
  void setCallback(Callback* callback) { _callback.reset(callback); }
  // Borrowed; null when there is none. The exchange itself never calls it.
  Callback* getCallback() const { return _callback.get(); }
  // Headers of the same name stand beside each other.
  void addHeader(const std::string& name, const std::string& value);
  void appendData(const std::string& data) { _data += data; }

  // Connects, sends and reads the answer. Blocks without a time-out. Null when there is no
  // connection, the request cannot be sent, or what came is no response. Caller deletes.
  HttpResponse* invoke();

 private:
  void addAutomaticHeaders();
  std::string text() const;

  std::string _host;
  unsigned short _port;
  std::unique_ptr<Callback> _callback;
  std::string _data;
  std::multimap<std::string, std::string> _headers;
  std::string _method = kGetMethod;
  std::string _uri;
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_HTTPREQUEST_H_
