#ifndef TOOLS_WEB_CHECK_CHECKS_H_
#define TOOLS_WEB_CHECK_CHECKS_H_

#include "tools/web_check/Report.h"

namespace web_check {

// Walks the whole chain, from the module to the application's answers. Takes seconds at most,
// whatever is broken. Changes nothing, except that it makes missing directories with `fix`.
Report runChecks(bool fix);

}  // namespace web_check

#endif  // TOOLS_WEB_CHECK_CHECKS_H_
