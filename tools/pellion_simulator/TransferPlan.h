#ifndef PELLION_SIMULATOR_TRANSFER_PLAN_H_
#define PELLION_SIMULATOR_TRANSFER_PLAN_H_

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tools/pellion_simulator/Location.h"
#include "tools/pellion_simulator/TransferRequest.h"

namespace pellion_simulator {

// One file to move.
struct PlannedFile {
  Location source;
  Location target;
  int64_t expected;  // -1: not known
};

// Works out which files a request means and where each goes; a directory among the sources stands
// for the files below it. Looks at the local files, so it belongs on a worker thread. `checkGoesOn`
// is called again and again and ends the planning with what it throws. Throws a runtime error whose
// text is the reason for the transfer's failure.
std::vector<PlannedFile> planTransfer(const TransferRequest& request,
                                      const std::string& downloadDirectory,
                                      const std::function<void()>& checkGoesOn);

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_TRANSFER_PLAN_H_
