#ifndef PLUGIN_SRC_HTTPRESPONSE_H_
#define PLUGIN_SRC_HTTPRESPONSE_H_

#include <map>
#include <string>

namespace Pellion::Web {

// What a server answered: status code, headers exactly as received, and body. The code is not
// judged here: a 404 is a response like any other.
class HttpResponse {
 public:
  HttpResponse() = default;
  HttpResponse(const HttpResponse&) = delete;
  HttpResponse& operator=(const HttpResponse&) = delete;

  // Null when the status line lacks a part, a header line lacks ": " or the header block does not
  // end. Everything behind the header block is the body. Caller deletes. A text that is moved in is
  // not copied: its buffer becomes the body's.
  static HttpResponse* parse(std::string text);

  unsigned short statusCode() const { return _statusCode; }
  void setStatusCode(unsigned short statusCode) { _statusCode = statusCode; }
  const std::string& data() const { return _data; }
  void setData(std::string data);
  // Headers of the same name stand beside each other.
  void addHeader(const std::string& name, const std::string& value);
  // The value of the first header of exactly this name (case counts); empty when there is none.
  std::string header(const std::string& name) const;

 private:
  unsigned short _statusCode = 0;
  std::multimap<std::string, std::string> _headers;
  std::string _data;
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_HTTPRESPONSE_H_
