#ifndef PLUGIN_SRC_GUARDED_H_
#define PLUGIN_SRC_GUARDED_H_

#include <exception>

#include "ovlib/ovlog.h"

namespace Pellion::Web {

// Runs `step`, for places that no exception may leave. A standard exception ends the step and is
// logged as "`what` ended by an exception: ..."; false then.
template <typename Step>
bool runGuarded(const char* what, const Step& step) {
  try {
    step();
    return true;
  } catch (const std::exception& e) {
    ov_err("%s ended by an exception: %s", what, e.what());
    return false;
  }
}

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_GUARDED_H_
