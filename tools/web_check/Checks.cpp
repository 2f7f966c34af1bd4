#include "tools/web_check/Checks.h"

#include <exception>
#include <map>
#include <string>
#include <vector>

#include "tools/web_check/BrowserChecks.h"
#include "tools/web_check/Check.h"

namespace web_check {

namespace {

const std::vector<Check> kChecks = {
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

// Each name with the prefix in the report.
void runChain(const std::vector<Check>& checks, const std::string& prefix, Context* context,
              Report* report) {
  std::map<std::string, Stop> stops;
  for (const Check& check : checks) {
    const auto stop = stops.find(check.needs != nullptr ? check.needs : "");
    if (stop != stops.end()) {
      const Stop cause = stop->second;
      stops[check.name] = cause;
      report->add(prefix + check.name,
                  {cause.status, "not checked", "see " + prefix + cause.check + " above", true});
      continue;
    }
    const Finding finding = runOne(check, context);
    if (finding.stops) {
      stops[check.name] = {check.name, finding.status};
    }
    report->add(prefix + check.name, finding);
  }
}

void runBrowserChain(const Browser& browser, bool fix, Report* report) {
  Context context;
  context.fix = fix;
  context.browser = &browser;
  runChain(browserChecks(), browser.name + std::string("-"), &context, report);
}

}  // namespace

Report runChecks(bool fix, const Browser* browser) {
  Context context;
  context.fix = fix;
  Report report;
  runChain(kChecks, "", &context, &report);
  if (browser != nullptr) {
    runBrowserChain(*browser, fix, &report);
    return report;
  }
  for (const Browser& each : browsers()) {
    if (isInstalled(each) && isPrepared(each)) {
      runBrowserChain(each, fix, &report);
    } else if (isInstalled(each)) {
      report.add(each.name,
                 Finding::ok("it has no extension for Orvane Web, and need not have; see "
                             "--browser " +
                             std::string(each.name)));
    }
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
