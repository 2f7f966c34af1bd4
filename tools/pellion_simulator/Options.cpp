#include "tools/pellion_simulator/Options.h"

#include <getopt.h>

#include <charconv>
#include <cstring>

#include "tools/pellion_simulator/Settings.h"

namespace pellion_simulator {

namespace {

int64_t parseNumber(const char* option, const char* text, int64_t largest) {
  int64_t value = 0;
  const char* end = text + strlen(text);
  const auto [stop, error] = std::from_chars(text, end, value);
  if (error != std::errc() || stop != end || value < 0 || value > largest) {
    throw UsageError(std::string(option) + " takes a number from 0 to " + std::to_string(largest) +
                     ", not '" + text + "'");
  }
  return value;
}

}  // namespace

Options Options::parse(int argc, char** argv) {
  static const option kLongOptions[] = {{"help", no_argument, nullptr, 'h'},
                                        {"port", required_argument, nullptr, 'p'},
                                        {"rate-limit", required_argument, nullptr, 'r'},
                                        {"verbose", no_argument, nullptr, 'v'},
                                        {"version", no_argument, nullptr, 'V'},
                                        {nullptr, 0, nullptr, 0}};
  Options options;
  opterr = 0;
  optind = 1;
  for (int c; (c = getopt_long(argc, argv, ":h", kLongOptions, nullptr)) != -1;) {
    switch (c) {
      case 'h':
        options.help = true;
        break;
      case 'p':
        options.port = static_cast<int>(parseNumber("--port", optarg, 65535));
        break;
      case 'r':
        options.rateLimit = parseNumber("--rate-limit", optarg, Settings::kLargestRateLimit);
        break;
      case 'v':
        options.verbose = true;
        break;
      case 'V':
        options.version = true;
        break;
      default:
        throw UsageError(std::string(c == ':' ? "a value is missing after " : "unknown option ") +
                         argv[optind - 1]);
    }
  }
  if (optind < argc) {
    throw UsageError(std::string("unexpected argument ") + argv[optind]);
  }
  return options;
}

std::string Options::helpText() {
  return "Usage: orvanepellion [OPTION]...\n"
         "A stand-in for the Orvane Pellion transfer application: it listens on the loopback\n"
         "interface, publishes its address under ~/.orvane/pellion/var/run, and moves files.\n"
         "\n"
         "  --port N         listen on port N (default: a free one)\n"
         "  --rate-limit N   move at most N bytes per second, all transfers together; 0: no limit\n"
         "                   (default: as in the preferences)\n"
         "  --verbose        write the log to standard error as well\n"
         "  --version        print the version and exit\n"
         "  --help           print this help and exit\n"
         "\n"
         "It runs until it gets SIGINT, SIGTERM or SIGHUP, or until a client asks it to exit.\n";
}

}  // namespace pellion_simulator
