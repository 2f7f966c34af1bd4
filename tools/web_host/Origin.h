#ifndef TOOLS_WEB_HOST_ORIGIN_H_
#define TOOLS_WEB_HOST_ORIGIN_H_

#include <stdexcept>
#include <string>

namespace web_host {

// A text that is no origin; what() says why and ends in no full stop.
class OriginError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The one form of an origin: scheme, host and port ("https://a.example:8443") in lower case, the
// scheme's own port left out, names in other scripts as browsers write them (xn--...). All file
// addresses are of one origin, "file://". Throws OriginError, also for "null".
std::string normalOrigin(const std::string& text);

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_ORIGIN_H_
