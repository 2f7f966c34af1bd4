#ifndef PELLION_SIMULATOR_ACTIVITY_REPORT_H_
#define PELLION_SIMULATOR_ACTIVITY_REPORT_H_

#include <string>

#include "tools/pellion_simulator/TransferQueue.h"

namespace pellion_simulator {

// Answers the body of an activity request: the transfers that changed since its iteration token,
// and a new token. Transfers of another application id are left out; those without one (started by
// the xferreq document) are everybody's. Throws ApiError (400).
std::string activityReport(const TransferQueue& queue, const std::string& body);

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_ACTIVITY_REPORT_H_
