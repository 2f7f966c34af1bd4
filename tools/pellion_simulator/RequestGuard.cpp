#include "tools/pellion_simulator/RequestGuard.h"

#include <glib.h>

#include <algorithm>
#include <string>

#include "tools/pellion_simulator/ApiError.h"

namespace pellion_simulator {

namespace {

// `authority`: a host, with or without a port.
bool namesThisMachine(const std::string& authority) {
  const size_t bracket = authority.find(']');
  const size_t colon = authority.find(':', bracket == std::string::npos ? 0 : bracket);
  std::string host = authority.substr(0, colon);
  std::transform(host.begin(), host.end(), host.begin(), g_ascii_tolower);
  const std::string port = colon == std::string::npos ? "" : authority.substr(colon + 1);
  return port.find_first_not_of("0123456789") == std::string::npos &&
         (host == "127.0.0.1" || host == "localhost" || host == "[::1]");
}

}  // namespace

void checkRequestIsLocal(const httplib::Request& request) {
  for (size_t i = 0; i < request.get_header_value_count("Host"); ++i) {
    const std::string host = request.get_header_value("Host", i);
    if (!namesThisMachine(host)) {
      throw ApiError(403, "Requests for the host " + host + " are not answered here");
    }
  }
  if (request.has_header("Origin")) {
    throw ApiError(403, "Requests from pages, here of " + request.get_header_value("Origin") +
                            ", are not answered");
  }
  const std::string site = request.get_header_value("Sec-Fetch-Site");
  if (!site.empty() && site != "none") {
    throw ApiError(403, "Requests from pages are not answered");
  }
}

}  // namespace pellion_simulator
