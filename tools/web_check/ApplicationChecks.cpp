#include <arpa/inet.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>

#include "ovlib/ovpath.h"
#include "plugin/src/File.h"
#include "plugin/src/FileSystem.h"
#include "plugin/src/Pellion.h"
#include "plugin/src/Url.h"
#include "tools/web_check/Check.h"

namespace fs = std::filesystem;
using Pellion::Web::File;
using Pellion::Web::FileSystem;
using Pellion::Web::PellionApp;
using Pellion::Web::Url;

namespace web_check {

namespace {

constexpr char kExecutableName[] = "orvanepellion";
constexpr char kPathFile[] = "~/.orvane/pellion/etc/orvanepellion.path";

std::string readWhole(const std::string& path) {
  File file(path);
  file.open();
  return file.read();
}

// A path file that leads nowhere does no harm as long as the application is found elsewhere.
Finding misleading(const std::string& seen, const std::string& remedy) {
  const bool isFound = !PellionApp::binPath().empty();
  return isFound ? Finding::warning(seen, remedy) : Finding::failed(seen, remedy);
}

// An address of this machine; false for any other.
bool toLoopback(const std::string& host, std::string* dotted) {
  in_addr address = {};
  *dotted = host == "localhost" ? "127.0.0.1" : host;
  return inet_pton(AF_INET, dotted->c_str(), &address) == 1 && ntohl(address.s_addr) >> 24 == 127;
}

}  // namespace

Finding checkPathFile(Context*) {
  const std::string path = FileSystem::pellionAppDataPath() + "/etc/orvanepellion.path";
  if (!ov_path_exists(path.c_str())) {
    return Finding::ok("there is no " + path + ", and need not be");
  }
  const std::string content = readWhole(path);
  const std::string directory = content.substr(0, content.find('\n'));
  const std::string seen = path + " names " + quote(directory);
  std::error_code ignored;
  if (directory.empty()) {
    return misleading(path + " cannot be read, or its first line is empty",
                      "write a directory's path into it, or remove it");
  }
  const bool isAbsolute = directory.front() == '/';
  if (!isAbsolute || !fs::is_directory(directory, ignored)) {
    return misleading(
        seen + (isAbsolute ? ", which is no directory" : ", which is no absolute path"),
        "write the directory's path into its first line, without blanks before "
        "or after it, or remove the file");
  }
  if (!fs::exists(fs::path(directory) / kExecutableName, ignored)) {
    return misleading(seen + ", where there is no " + kExecutableName,
                      "write the application's directory into it, or remove it");
  }
  return Finding::ok(seen);
}

Finding checkExecutable(Context*) {
  const std::string path = PellionApp::binPath();
  if (path.empty()) {
    return Finding::failed(
        std::string(kExecutableName) +
            " is neither in the directory that the path file names (without one: "
            "~/opt/orvane/pellion/bin), nor in /opt/orvane/pellion/bin, "
            "/opt/orvane/bin, /usr/local/bin, /usr/bin",
        std::string("install Orvane Pellion, or write its directory into ") + kPathFile);
  }
  std::error_code ignored;
  if (!fs::is_regular_file(path, ignored)) {
    return Finding::failed(path + " is no file", "move it away, or install Orvane Pellion there");
  }
  if (access(path.c_str(), X_OK) != 0) {
    return Finding::failed(path + " cannot be run: " + std::strerror(errno),
                           "make it executable (chmod +x), or install Orvane Pellion anew");
  }
  if (breaksInShell(path)) {
    return Finding::warning(quote(path) +
                                " has blanks or signs that the shell reads in its own "
                                "way, so the plugin cannot start it",
                            "move the application to another directory, or start it yourself "
                            "before the page does");
  }
  return Finding::ok(path);
}

Finding checkUrlFile(Context* context) {
  const std::string path = FileSystem::pellionAppDataPath() + "/var/run/http.uri";
  if (!ov_path_exists(path.c_str())) {
    return Finding::pause("the application does not run (there is no " + path + ")", kStart);
  }
  const std::string text = readWhole(path);
  const Url url(text);
  const std::string seen = path + " holds " + quote(text);
  const std::string start = url.scheme() + "://" + url.host() + ":" + std::to_string(url.port(0));
  const bool isWhole = text.rfind(start, 0) == 0;
  if (!url.valid() || url.port(0) == 0 || !toLoopback(url.host(), &context->host)) {
    return Finding::failed(seen + ", which is no address on this machine",
                           "end the application, remove this file, and start it again");
  }
  context->port = url.port(0);
  const std::string rest = isWhole ? text.substr(start.size()) : text;
  if (url.scheme() != "http" || (!rest.empty() && rest != "/")) {
    return Finding::warning(seen + ", which the plugin reads as http://" + context->host + ":" +
                                std::to_string(context->port) + "/",
                            "start the application anew, so that it writes this file itself");
  }
  return Finding::ok(seen);
}

}  // namespace web_check
