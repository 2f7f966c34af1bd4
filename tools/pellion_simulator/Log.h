#ifndef PELLION_SIMULATOR_LOG_H_
#define PELLION_SIMULATOR_LOG_H_

#include <string>

namespace pellion_simulator {

// The program's own log: one line a call, with the time in front. Safe from every thread.

// Appends to `path`; a file that has grown beyond 1 MiB is first renamed to `path`.1. With
// `verbose` the lines also go to standard error. Throws FileError.
void openLog(const std::string& path, bool verbose);

// Bytes that would break the line are written as "?".
void logLine(const std::string& text);

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_LOG_H_
