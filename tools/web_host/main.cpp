#include <glib.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <exception>
#include <memory>
#include <utility>

#include "tools/npapi_host/WindowProcess.h"
#include "tools/web_host/AreaWindows.h"
#include "tools/web_host/Options.h"
#include "tools/web_host/WebHost.h"

// Browsers start this program in its own directory, where file dialogs would then begin.
static void goHome() {
  if (chdir(g_get_home_dir()) != 0) {
    std::perror("orvane-web-host: the home directory cannot be entered");
  }
}

static int serveBrowser() {
  std::setlocale(LC_ALL, "");  // as GTK's start does, which may come when the module's threads run
  const web_host::Channel channel = web_host::takeChannel();
  goHome();
  web_host::WebHost host(channel);
  return host.run();
}

int main(int argc, char** argv) {
  int descriptor = -1;
  if (npapi_host::isWindowProcess(argc, argv, &descriptor)) {
    return npapi_host::runWindowProcess(descriptor, [](npapi_host::Tell tell) {
      return std::make_unique<web_host::AreaWindows>(std::move(tell));
    });
  }
  try {
    const std::optional<int> done = web_host::runOptions(argc, argv);
    return done.has_value() ? *done : serveBrowser();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "orvane-web-host: %s\n", error.what());
    return 1;
  }
}
