#ifndef PELLION_SIMULATOR_TRANSFER_JOB_H_
#define PELLION_SIMULATOR_TRANSFER_JOB_H_

#include <string>

#include "tools/pellion_simulator/RateLimiter.h"
#include "tools/pellion_simulator/Transfer.h"

namespace pellion_simulator {

// Moves all files of a transfer, one after the other, and ends it as completed, failed or
// cancelled. The first file that cannot be moved ends it; files moved before stay. Blocks; throws
// nothing.
void runTransfer(Transfer* transfer, const std::string& downloadDirectory, RateLimiter* limiter);

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_TRANSFER_JOB_H_
