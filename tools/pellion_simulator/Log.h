#ifndef PELLION_SIMULATOR_LOG_H_
#define PELLION_SIMULATOR_LOG_H_

#include <string>

namespace pellion_simulator {

// The program's own log: one line a call, with the time in front. Safe from every thread.

// Appends to `path`. Whenever the file has reached 1 MiB, it is renamed to `path`.1, in place of an
// earlier one, and a new one begun. With `verbose` the lines also go to standard error. Throws
// FileError.
void openLog(const std::string& path, bool verbose);

// Bytes that would break the line are written as "?".
void logLine(const std::string& text);

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_LOG_H_
