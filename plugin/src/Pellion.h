#ifndef PLUGIN_SRC_PELLION_H_
#define PLUGIN_SRC_PELLION_H_

#include <string>

namespace Pellion::Web {

class Url;

// All that the plugin knows of the local transfer application: where its executable is, at which
// address it answers, and how to start it. One for the whole module, used by any thread; its state
// is copied in and out under a mutex that no request, launch or log call is made with. Failures
// are logged; nothing throws, but for want of memory.
class PellionApp {
 public:
  PellionApp() = delete;

  // The address that the application published, read anew as long as there is no valid one.
  // May be invalid.
  static Url url();
  // The executable's full path; empty when there is none.
  static std::string binPath();

  // Asks the application for its version; any answer counts. Follows a change of port.
  static bool isRunning();
  // Makes sure that the application runs. Blocks for up to the launch time-out, besides the
  // requests. Two threads may launch at the same time; the application sorts that out.
  static bool launch();
  static void setLaunchTimeoutMs(int milliseconds);

  // Launches the application if needed and sends it one request with XML content. Blocks. True when
  // it answered, whatever it said. A failure is logged; a missing answer behind `complaint`.
  static bool ask(const std::string& method, const std::string& path, const std::string& body,
                  const char* complaint);

  // The process id that the application published; 0 when there is none.
  static int pid();
  // Asks the application to exit. False only when it refuses.
  static bool terminate();
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_PELLION_H_
