#ifndef BENCH_PROCESSFIGURES_H_
#define BENCH_PROCESSFIGURES_H_

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace bench {

// True when rows only have to run once, as fast as they can (ORVANE_BENCH_QUICK is set).
bool quick();

// The directory of the running program, where the others of this folder are, and the build tree's
// top, two levels above what this folder builds.
std::string programDirectory();
std::string buildTop();

// Runs a program of its own (a path and its arguments) and answers the lines "name value" that it
// prints. Throws a runtime error when it fails.
std::map<std::string, double> runFigures(const std::vector<std::string>& command);
// The other side: prints one such line.
void printFigure(const char* name, double value);

// A number of /proc/self/status, in bytes where it stands in kB there: "VmHWM", "VmRSS",
// "voluntary_ctxt_switches" (of the calling thread's process: its main thread).
uint64_t ownStatus(const char* name);

}  // namespace bench

#endif  // BENCH_PROCESSFIGURES_H_
