#ifndef PELLION_SIMULATOR_MOVERS_H_
#define PELLION_SIMULATOR_MOVERS_H_

#include <string>

#include "tools/pellion_simulator/MoveProgress.h"
#include "tools/pellion_simulator/PendingFile.h"

namespace pellion_simulator {

// Each moves the bytes of one file and blocks until all are moved. They throw MoveCancelled, or a
// runtime error whose text is the reason for the failure.

void copyFile(const std::string& source, PendingFile* target, MoveProgress* progress);

// http, https, ftp or ftps. Redirections are followed, but only to addresses of these kinds.
void downloadFile(const std::string& url, PendingFile* target, MoveProgress* progress);

// PUT to http or https.
void uploadFile(const std::string& source, const std::string& url, MoveProgress* progress);

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_MOVERS_H_
