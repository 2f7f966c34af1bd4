#ifndef TESTS_PLUGIN_SYSTEMCALLFAULTS_H_
#define TESTS_PLUGIN_SYSTEMCALLFAULTS_H_

#include <cstddef>
#include <vector>

// The test program has recv, send, gettimeofday and operator new of its own. They do the real
// thing, except where the calling thread planned otherwise.
namespace system_call_faults {

constexpr size_t kFail = static_cast<size_t>(-1);

// Each of the next calls moves exactly so many bytes, or fails; later ones are left alone.
void planReceives(const std::vector<size_t>& sizes);
void planSends(const std::vector<size_t>& sizes);
// The n-th of the next calls fails, counted from 0.
void failClockCall(int n);

// All memory that this thread asked for since the start, given back or not.
void startMeasuringMemory();
size_t allocatedMemory();

}  // namespace system_call_faults

#endif  // TESTS_PLUGIN_SYSTEMCALLFAULTS_H_
