#include "tools/pellion_simulator/Application.h"

#include <unistd.h>

#include <cstdlib>

#include "tools/pellion_simulator/ApiServer.h"
#include "tools/pellion_simulator/Log.h"
#include "tools/pellion_simulator/MainLoop.h"
#include "tools/pellion_simulator/RuntimeFiles.h"
#include "tools/pellion_simulator/Settings.h"
#include "tools/pellion_simulator/TransferQueue.h"
#include "tools/pellion_simulator/windows/Windows.h"

namespace pellion_simulator {

namespace {

std::string homeDirectory() {
  const char* home = getenv("HOME");
  if (home == nullptr || *home != '/') {
    throw std::runtime_error("HOME does not name a directory");
  }
  return home;
}

}  // namespace

void runApplication(const Options& options) {
  RuntimeFiles files(homeDirectory());
  openLog(files.logPath(), options.verbose);
  Settings settings(files.settingsPath());
  if (options.rateLimit) {
    settings.setRateLimit(*options.rateLimit);
  }
  MainLoop loop;
  TransferQueue queue(&settings);
  Windows windows(&queue, &settings);
  ApiServer server(&queue, {[&windows, &loop](const std::string& name) {
                              loop.post([&windows, name] { windows.show(name); });
                            },
                            [&loop] { loop.quit(); }});
  const int port = server.start(options.port);
  files.publish(port);
  logLine("Process " + std::to_string(getpid()) + " listens on port " + std::to_string(port));
  loop.run();
  // No request may reach a program that is about to go: first nobody can connect, then whoever
  // looks for the program starts another one.
  server.stopListening();
  files.withdraw();
  windows.close();
  queue.stop();
  server.stop();
  logLine("Process " + std::to_string(getpid()) + " exits");
}

}  // namespace pellion_simulator
