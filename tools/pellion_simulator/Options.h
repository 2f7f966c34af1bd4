#ifndef PELLION_SIMULATOR_OPTIONS_H_
#define PELLION_SIMULATOR_OPTIONS_H_

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

namespace pellion_simulator {

// What the command line asks for.
struct Options {
  int port = 0;                      // 0: the system picks one
  std::optional<int64_t> rateLimit;  // bytes per second, 0 for none; unset: as in the preferences
  bool verbose = false;
  bool help = false;
  bool version = false;

  // Throws UsageError.
  static Options parse(int argc, char** argv);
  static std::string helpText();
};

class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_OPTIONS_H_
