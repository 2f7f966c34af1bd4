#include "plugin/src/Pellion.h"

#include <cstdlib>
#include <exception>
#include <memory>
#include <mutex>
#include <utility>

#include "ovlib/overrno.h"
#include "ovlib/ovlog.h"
#include "ovlib/ovpath.h"
#include "ovlib/ovstring.h"
#include "ovlib/ovthread.h"
#include "plugin/src/Constants.h"
#include "plugin/src/File.h"
#include "plugin/src/FileSystem.h"
#include "plugin/src/HttpRequest.h"
#include "plugin/src/HttpResponse.h"
#include "plugin/src/LaunchedProcess.h"
#include "plugin/src/Url.h"
#include "plugin/src/Utils.h"

namespace Pellion::Web {

namespace {

constexpr char kUrlFile[] = "/var/run/http.uri";
constexpr char kPidFile[] = "/var/run/process.pid";
constexpr char kExecutableName[] = "orvanepellion";
constexpr char kPathFile[] = "/.orvane/pellion/etc/orvanepellion.path";
constexpr char kUserBinDirectory[] = "/opt/orvane/pellion/bin";  // below the home directory
// Deliberate: no strict JSON; the application gets it as it stands.
constexpr char kExitBody[] = "{'agent':'Orvane.Pellion', 'message' : 'Installing update!'}";
constexpr int kWaitStepMs = 100;
constexpr unsigned short kForbidden = 403;
constexpr unsigned short kNotFound = 404;

// Never destroyed: a thread may ask while the process exits.
struct State {
  std::mutex mutex;
  Url _appUrl;
  std::string _binPath;
  int _launchTimeoutMs = kDefaultLaunchTimeoutMs;
};

State& state() {
  static State* const all = new State;
  return *all;
}

template <typename Value>
Value copyOf(Value State::*member) {
  std::lock_guard<std::mutex> lock(state().mutex);
  return state().*member;
}

// Swapped, so that the old value goes with its memory, and outside the lock.
template <typename Value>
void store(Value State::*member, Value value) {
  std::lock_guard<std::mutex> lock(state().mutex);
  std::swap(state().*member, value);
}

std::string readWhole(const std::string& path) {
  File file(path);
  file.open();
  const std::string content = file.read();
  file.close();
  return content;
}

Url readUrl() {
  Url url;
  try {
    const std::string path = FileSystem::pellionAppDataPath() + kUrlFile;
    ov_trace("Reading Orvane Pellion URL from %s", path.c_str());
    const std::string content = readWhole(path);
    // Deliberate: not trimmed; a line end behind the address is part of it.
    if (!content.empty()) {
      url.parse(content);
    }
    if (content.empty()) {
      ov_trace("Failed to read Orvane Pellion URL from %s", path.c_str());
    } else {
      ov_trace("Read Orvane Pellion URL: %s", url.url().c_str());
    }
  } catch (const std::exception& e) {
    ov_err("Failed to get Pellion URL: %s", e.what());
  }
  return url;
}

// The directory that comes before those of the system.
std::string preferredDirectory() {
  char home[OV_PATH_MAX] = "";
  if (ov_path_home_dir(home, sizeof(home)) < 0) {
    return kUserBinDirectory;
  }
  char pathFile[OV_PATH_MAX] = "";
  ov_str_ncpy(pathFile, home, sizeof(pathFile));
  ov_str_ncat(pathFile, kPathFile, sizeof(pathFile));
  const std::string content = readWhole(pathFile);
  if (content.empty()) {
    return home + std::string(kUserBinDirectory);
  }
  // An empty first line is a line, too: it names the directory "".
  const std::string named = content.substr(0, content.find('\n'));
  if (g_dbg_level > 0) {
    ov_dbg("Pellion path in orvanepellion.path: %s", named.c_str());
  }
  return named;
}

std::string findExecutable() {
  const std::string preferred = preferredDirectory();
  const char* const directories[] = {preferred.c_str(), "/opt/orvane/pellion/bin",
                                     "/opt/orvane/bin", "/usr/local/bin",
                                     "/usr/bin",        nullptr};
  char found[OV_PATH_MAX] = "";
  if (ov_path_find_file_in_paths(kExecutableName, directories, found, sizeof(found)) != 0) {
    ov_err("Failed to determine Orvane Pellion executable path");
    return std::string();
  }
  ov_log("Orvane Pellion executable path: %s", found);
  return found;
}

// True when the application answered in time. The time that the requests take does not count.
bool waitForAnswer(LaunchedProcess* process, int timeoutMs) {
  int waited = 0;
  while (waited < timeoutMs && !PellionApp::isRunning()) {
    const int code = ov_thread_sleep(kWaitStepMs);
    if (code != OV_OK) {
      ov_err("Warning: Thread sleep failed (%d)", code);
      return false;
    }
    waited += kWaitStepMs;
    // Deliberate: the end of this process ends the wait, even if another copy is about to answer.
    if (!process->isActive()) {
      return false;
    }
  }
  if (waited >= timeoutMs) {
    ov_log("Warning: Timed out waiting for Orvane Pellion to launch");
    return false;
  }
  ov_trace("Waited %dms for Pellion to launch and write URL file", waited);
  return true;
}

// Deliberate: names the executable where kill wants a process id, so that it ends nothing; it
// counts as a success all the same.
bool killApplication() {
  const std::string command = std::string("kill -9 ") + kExecutableName;
  [[maybe_unused]] const int status = system(command.c_str());
  return true;
}

}  // namespace

Url PellionApp::url() {
  Url url = copyOf(&State::_appUrl);
  if (!url.valid()) {
    url = readUrl();
    store(&State::_appUrl, url);
  }
  return url;
}

std::string PellionApp::binPath() {
  std::string path = copyOf(&State::_binPath);
  if (path.empty()) {
    path = findExecutable();
    // Another thread may have found one meanwhile, which stays.
    if (!path.empty()) {
      store(&State::_binPath, path);
    }
  }
  return path;
}

bool PellionApp::isRunning() {
  for (;;) {
    std::unique_ptr<HttpRequest> request(Utils::createHttpRequest(
        HttpRequest::kGetMethod, Utils::apiPath("/pellion/version"), std::string(), eContentJson));
    if (!request) {
      return false;
    }
    const std::unique_ptr<HttpResponse> response(request->invoke());
    if (response) {
      return true;
    }
    // Compared with the port that was asked: another thread may have read the new one meanwhile.
    store(&State::_appUrl, Url());
    const Url moved = url();
    if (!moved.valid() || moved.port(0) == request->port()) {
      return false;
    }
  }
}

bool PellionApp::launch() {
  if (isRunning()) {
    return true;
  }
  const std::string command = binPath();
  if (command.empty()) {
    return false;
  }
  ov_log("%s - Command: %s", kMsgPellionLaunch, command.c_str());
  LaunchedProcess process;
  // Deliberate: unquoted, though a shell reads it; a path with a blank starts what stands before
  // it.
  if (!process.start(command)) {
    return false;
  }
  const int timeoutMs = copyOf(&State::_launchTimeoutMs);
  ov_log("Waiting %dms for Orvane Pellion to launch", timeoutMs);
  store(&State::_appUrl, Url());
  return waitForAnswer(&process, timeoutMs);
}

void PellionApp::setLaunchTimeoutMs(int milliseconds) {
  store(&State::_launchTimeoutMs, milliseconds);
}

bool PellionApp::ask(const std::string& method, const std::string& path, const std::string& body,
                     const char* complaint) {
  if (!launch()) {
    ov_err("%s", kErrorPellionRequest);
    return false;
  }
  const std::unique_ptr<HttpRequest> request(
      Utils::createHttpRequest(method, path, body, eContentXml));
  if (!request) {
    ov_err("%s", kErrorCreatingHttpRequest);
    return false;
  }
  const std::unique_ptr<HttpResponse> response(request->invoke());
  if (!response) {
    ov_err("%s%s", complaint, kErrorPellionRequest);
  }
  return response != nullptr;
}

int PellionApp::pid() {
  try {
    return ov_str_atoi(readWhole(FileSystem::pellionAppDataPath() + kPidFile).c_str());
  } catch (const std::exception& e) {
    ov_err("Failed to get Pellion process id: %s", e.what());
    return 0;
  }
}

bool PellionApp::terminate() {
  std::unique_ptr<HttpRequest> request(Utils::createHttpRequest(eContentJson));
  if (!request) {
    return true;
  }
  request->setUri(Utils::apiPath("/pellion/exit"));
  request->setMethod(HttpRequest::kPostMethod);
  request->appendData(kExitBody);
  const std::unique_ptr<HttpResponse> response(request->invoke());
  const unsigned short status = response ? response->statusCode() : 0;
  return status != kForbidden && (status != kNotFound || killApplication());
}

}  // namespace Pellion::Web
