#ifndef BENCH_BENCHHOME_H_
#define BENCH_BENCHHOME_H_

#include <string>

#include "ovlib/ovlog.h"
#include "plugin/src/Utils.h"
#include "tests/support/Sandbox.h"

namespace bench {

// A private home directory for one benchmark program, with the application's tree; HOME names it.
// The module's log goes to its usual place in there, and bare logs lie beside it.
class BenchHome : public test_support::Sandbox {
 public:
  // The program's one home, made at the first call and removed at the end.
  static BenchHome& get() {
    static BenchHome home;
    return home;
  }

  // Starts the log as the module does.
  static void startLog() {
    get();
    Pellion::Web::Utils::logInit();
  }

  // Where a contestant's own log goes.
  std::string besideLog(const std::string& name) const { return dataPath("var/log/" + name); }

  // The application's address file, as Orvane Pellion writes it.
  void publish(int port) const { writeUrlFile(port); }

 private:
  void TestBody() override {}
};

}  // namespace bench

#endif  // BENCH_BENCHHOME_H_
