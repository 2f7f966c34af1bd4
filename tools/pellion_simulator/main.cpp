#include <curl/curl.h>

#include <clocale>
#include <csignal>
#include <cstdio>

#include "tools/pellion_simulator/Application.h"

using pellion_simulator::Options;

namespace {

const int kUsageStatus = 2;

int run(int argc, char** argv) {
  const Options options = Options::parse(argc, argv);
  if (options.help) {
    fputs(Options::helpText().c_str(), stdout);
  } else if (options.version) {
    printf("orvanepellion %s\n", ORVANE_VERSION);
  } else {
    pellion_simulator::runApplication(options);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  // Texts in the user's language, numbers as JSON wants them.
  setlocale(LC_CTYPE, "");
  // A peer that went away and a file that grew too large are errors of one transfer.
  signal(SIGPIPE, SIG_IGN);
  signal(SIGXFSZ, SIG_IGN);
  curl_global_init(CURL_GLOBAL_DEFAULT);
  int status = 1;
  try {
    status = run(argc, argv);
  } catch (const pellion_simulator::UsageError& error) {
    fprintf(stderr, "orvanepellion: %s\nTry --help.\n", error.what());
    status = kUsageStatus;
  } catch (const std::exception& error) {
    fprintf(stderr, "orvanepellion: %s\n", error.what());
  }
  curl_global_cleanup();
  return status;
}
