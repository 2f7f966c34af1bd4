#ifndef PELLION_SIMULATOR_REQUEST_GUARD_H_
#define PELLION_SIMULATOR_REQUEST_GUARD_H_

#include <httplib.h>

namespace pellion_simulator {

// Keeps web pages from reaching this program past the plugin, through the user's browser: a Host
// header must name this machine, and there must be no Origin, of this machine's own pages either.
// The plugin sends neither. Throws ApiError (403).
void checkRequestIsLocal(const httplib::Request& request);

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_REQUEST_GUARD_H_
