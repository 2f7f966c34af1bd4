#ifndef TOOLS_WEB_CHECK_CHECKS_H_
#define TOOLS_WEB_CHECK_CHECKS_H_

#include "tools/web_check/Browser.h"
#include "tools/web_check/Report.h"

namespace web_check {

// Walks the whole chain, from the module to the application's answers, and then the one in the
// browser given; without one (null) in each that is installed and prepared (BrowserChecks.h). Takes
// seconds at most, whatever is broken. Changes nothing, except that it makes missing directories
// and manifests of the user's with `fix`.
Report runChecks(bool fix, const Browser* browser);

}  // namespace web_check

#endif  // TOOLS_WEB_CHECK_CHECKS_H_
