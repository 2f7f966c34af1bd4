#ifndef TOOLS_WEB_CHECK_BROWSER_CHECKS_H_
#define TOOLS_WEB_CHECK_BROWSER_CHECKS_H_

#include <vector>

#include "tools/web_check/Check.h"

namespace web_check {

// The chain in the context's browser, from the program to the sites; `browser` is set.
const std::vector<Check>& browserChecks();

// Whether the browser is on this machine, and has the extension or a manifest that leads to a
// program: else nobody who did not ask for it wants to hear what else is missing.
bool isInstalled(const Browser& browser);
bool isPrepared(const Browser& browser);

}  // namespace web_check

#endif  // TOOLS_WEB_CHECK_BROWSER_CHECKS_H_
