#include "tools/web_host/Options.h"

#include <unistd.h>

#include <cstdio>
#include <stdexcept>
#include <string>

#include "tools/web_host/Origin.h"
#include "tools/web_host/Sites.h"

namespace web_host {
namespace {

const char kHelp[] =
    R"(Usage: orvane-web-host --sites | --allow ORIGIN | --deny ORIGIN | --forget ORIGIN

Connects pages in today's browsers with the plugin Orvane Web. The browser extension of the same name
starts it for every page that uses the plugin, and speaks with it over its standard input and output.
A page gets nothing before the user has allowed its site; the program asks for that in a dialog.

  --sites          writes the sites that are allowed or denied
  --allow ORIGIN   allows a site, such as https://host or http://host:8080, without a question;
                   file:// stands for all pages that are files
  --deny ORIGIN    denies it without a question
  --forget ORIGIN  asks again the next time
  --help, --version

The environment variable ORVANE_WEB_MODULE names the plugin module; without it nporvaneweb.so is
searched as browsers do.
)";

int complain(const std::string& text) {
  std::fprintf(stderr, "orvane-web-host: %s\n", text.c_str());
  return 1;
}

int misunderstood(const std::string& text) {
  complain(text + " (see --help)");
  return 2;
}

int print(const char* text) {
  return std::fputs(text, stdout) >= 0 && std::fflush(stdout) == 0 ? 0 : 1;
}

int listSites() {
  Sites sites;
  std::string text;
  for (const Sites::Entry& entry : sites.list()) {
    text += std::string(leaveWord(entry.leave)) + " " + entry.origin +
            (entry.file.empty() ? "" : "  # " + entry.file) + "\n";
  }
  for (const std::string& complaint : sites.complaints()) {
    complain(complaint);
  }
  return print(text.c_str());
}

int change(const std::string& text, std::optional<Leave> leave) {
  try {
    const std::string origin = normalOrigin(text);
    Sites::set(origin, leave);
    const std::optional<Sites::Entry> entry = Sites().find(origin);
    if (entry.has_value() && !entry->file.empty()) {
      complain("for " + origin + " " + entry->file +
               (entry->unreadable ? ", which cannot be read," : "") +
               " goes before: " + leaveWord(entry->leave));
    }
    return 0;
  } catch (const OriginError& error) {
    return misunderstood(error.what());
  } catch (const std::runtime_error& error) {
    return complain(error.what());
  }
}

int runSiteOption(const std::string& option, const std::string& origin) {
  if (option == "--allow") {
    return change(origin, Leave::kAllow);
  }
  return change(origin, option == "--deny" ? std::optional<Leave>(Leave::kDeny) : std::nullopt);
}

}  // namespace

std::optional<int> runOptions(int argc, char** argv) {
  const std::string option = argc > 1 ? argv[1] : "";
  if (option.empty() || option[0] != '-') {
    return isatty(STDIN_FILENO) == 0 ? std::nullopt
                                     : std::optional<int>(misunderstood(
                                           "browsers start this program, and speak with it"));
  }
  if (option == "--allow" || option == "--deny" || option == "--forget") {
    return argc == 3 ? runSiteOption(option, argv[2]) : misunderstood(option + " takes one ORIGIN");
  }
  if (argc > 2) {
    return misunderstood(option + " takes nothing more");
  }
  if (option == "--sites") {
    return listSites();
  }
  if (option == "--help") {
    return print(kHelp);
  }
  if (option == "--version") {
    return print("orvane-web-host " ORVANE_VERSION "\n");
  }
  return misunderstood("there is no option " + option);
}

}  // namespace web_host
