#ifndef TOOLS_WEB_CHECK_EXCHANGE_H_
#define TOOLS_WEB_CHECK_EXCHANGE_H_

#include <memory>
#include <string>

#include "plugin/src/HttpResponse.h"

namespace web_check {

// How far a request came.
enum class Reached { kNothing, kConnection, kAnswer };

struct Exchange {
  Reached reached = Reached::kNothing;
  bool refused = false;                                  // nothing listens there
  bool tooLarge = false;                                 // the answer, more than 64 MiB
  std::string error;                                     // why it came no further
  std::unique_ptr<Pellion::Web::HttpResponse> response;  // with kAnswer only
};

// Opens a connection and closes it; kConnection when it came about.
Exchange tryConnect(const std::string& address, unsigned short port);

// One request with the headers that the plugin sends. Unlike the plugin, it gives up after three
// seconds, all in all.
Exchange request(const std::string& address, unsigned short port, const std::string& method,
                 const std::string& path, const std::string& body);

}  // namespace web_check

#endif  // TOOLS_WEB_CHECK_EXCHANGE_H_
