#include "tools/web_check/Checks.h"

#include <exception>
#include <map>
#include <string>

#include "tools/web_check/Check.h"

namespace web_check {

namespace {

const Check kChecks[] = {
    {"module", nullptr, checkModule},
    {"dependencies", "module", checkDependencies},
    {"loads", "dependencies", checkLoads},
    {"mime-type", "loads", checkMimeType},
    {"home", nullptr, checkHome},
    {"directories", "home", checkDirectories},
    {"log-directory", "home", checkLogDirectory},
    {"path-file", "home", checkPathFile},
    {"executable", nullptr, checkExecutable},
    {"url-file", "home", checkUrlFile},
    {"port", "url-file", checkPort},
    {"version", "port", checkVersion},
    {"activity", "version", checkActivity},
};

constexpr size_t kMostQuoted = 160;

// The check at which a chain stopped.
struct Stop {
  std::string check;
  Status status;
};

Finding runOne(const Check& check, Context* context) {
  try {
    return check.run(context);
  } catch (const std::exception& e) {
    return Finding::failed(std::string("the check itself failed: ") + e.what(),
                           "look at what this text says, and try again");
  }
}

}  // namespace

Report runChecks(bool fix) {
  Context context;
  context.fix = fix;
  std::map<std::string, Stop> stops;
  Report report;
  for (const Check& check : kChecks) {
    const auto stop = stops.find(check.needs != nullptr ? check.needs : "");
    if (stop != stops.end()) {
      const Stop cause = stop->second;
      stops[check.name] = cause;
      report.add(check.name, {cause.status, "not checked", "see " + cause.check + " above", true});
      continue;
    }
    const Finding finding = runOne(check, &context);
    if (finding.stops) {
      stops[check.name] = {check.name, finding.status};
    }
    report.add(check.name, finding);
  }
  return report;
}

std::string quote(const std::string& text) {
  const bool isLong = text.size() > kMostQuoted;
  return "\"" + text.substr(0, kMostQuoted) + (isLong ? "...\"" : "\"");
}

bool breaksInShell(const std::string& path) {
  return path.find_first_of(" \t\n\"'\\$`&|;<>()*?[") != std::string::npos;
}

}  // namespace web_check
