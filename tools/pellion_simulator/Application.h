#ifndef PELLION_SIMULATOR_APPLICATION_H_
#define PELLION_SIMULATOR_APPLICATION_H_

#include "tools/pellion_simulator/Options.h"

namespace pellion_simulator {

// Runs the program on the main thread until it is asked to exit. Throws AlreadyRunning or another
// runtime error when it cannot start.
void runApplication(const Options& options);

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_APPLICATION_H_
