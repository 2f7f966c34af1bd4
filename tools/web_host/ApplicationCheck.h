#ifndef TOOLS_WEB_HOST_APPLICATION_CHECK_H_
#define TOOLS_WEB_HOST_APPLICATION_CHECK_H_

#include <functional>
#include <string>

namespace web_host {

// Runs orvane-web-check, for that browser ("firefox" or "chromium") when it is known, and calls
// `done` from the main loop with the JSON that it wrote, or with an object whose "error" says why
// there is none; at the latest after a quarter of a minute. The program is the one that was built
// or installed with this one, else the first in PATH.
void checkApplication(const std::string& browser,
                      std::function<void(const std::string& json)> done);

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_APPLICATION_CHECK_H_
