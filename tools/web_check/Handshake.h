#ifndef TOOLS_WEB_CHECK_HANDSHAKE_H_
#define TOOLS_WEB_CHECK_HANDSHAKE_H_

#include <string>

#include "tools/web_check/Browser.h"

namespace web_check {

// What the host program answered to a browser's first messages.
struct Handshake {
  std::string error;  // why there is no answer; empty when there is one
  std::string version;
  std::string modulePath;
  std::string moduleError;  // why it has none; both are empty when it does not tell
};

// Starts the host as the browser does, for no page, and asks for its state: no module is loaded and
// nobody is asked. Takes some seconds at most.
Handshake shakeHands(const Browser& browser, const std::string& host, const std::string& manifest);

// What the host complains about in the lists of sites; empty when they can be read.
std::string siteComplaints(const std::string& host);

}  // namespace web_check

#endif  // TOOLS_WEB_CHECK_HANDSHAKE_H_
