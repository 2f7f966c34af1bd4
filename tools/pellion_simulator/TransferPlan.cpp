#include "tools/pellion_simulator/TransferPlan.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <stdexcept>

#include "tools/pellion_simulator/FileIo.h"
#include "tools/pellion_simulator/Log.h"

namespace pellion_simulator {

namespace {

namespace fs = std::filesystem;

Location destinationOf(const TransferRequest& request, const std::string& downloadDirectory) {
  const bool inDownloads = request.base == TransferRequest::Base::eDownloads;
  Location place = inDownloads ? Location::local(joinPath(downloadDirectory, request.destination))
                               : Location::parse(request.destination);
  if (request.direction == Direction::eReceive && !place.isLocal()) {
    throw std::runtime_error("a download needs a destination on this machine, not " + place.text());
  }
  if (!place.isLocal() && !place.isHttp()) {
    throw std::runtime_error("uploads go to http, https and file destinations, not to " +
                             place.text());
  }
  return place;
}

bool isDirectoryPlace(const TransferRequest& request, const Location& place) {
  return request.base == TransferRequest::Base::eDownloads || request.paths.size() > 1 ||
         !request.paths[0].name.empty() || place.namesDirectory() ||
         (place.isLocal() && isDirectory(place.text()));
}

std::string nameBelow(const RequestedPath& path, const Location& source) {
  const std::string own = namesDirectory(path.name) ? source.fileName() : "";
  return fs::path(joinPath(path.name, own)).lexically_normal().string();
}

// Works out the files of a request, one source after the other.
class Planner {
 public:
  explicit Planner(const std::function<void()>& checkGoesOn) : _checkGoesOn(checkGoesOn) {}

  void add(const Location& source, const Location& target);
  std::vector<PlannedFile> take() { return std::move(_plan); }

 private:
  void addDirectory(const std::string& source, const Location& target);
  std::vector<std::string> namesIn(const std::string& directory) const;

  const std::function<void()>& _checkGoesOn;
  std::vector<PlannedFile> _plan;
};

void Planner::add(const Location& source, const Location& target) {
  _checkGoesOn();
  if (!source.isLocal()) {
    _plan.push_back({source, target, -1});
  } else if (isDirectory(source.text())) {
    addDirectory(source.text(), target);
  } else {
    off_t size = 0;
    openRegularFile(source.text(), &size);
    _plan.push_back({source, target, size});
  }
}

// Sorted.
std::vector<std::string> Planner::namesIn(const std::string& directory) const {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator entry(directory, error), end; !error && entry != end;
       entry.increment(error)) {
    _checkGoesOn();
    names.push_back(entry->path().filename().string());
  }
  if (error) {
    throw FileError("cannot read the folder", directory, error.value());
  }
  std::sort(names.begin(), names.end());
  return names;
}

// Links to files stand for the files. Whatever else is neither a file nor a directory is left out.
void Planner::addDirectory(const std::string& source, const Location& target) {
  for (const std::string& name : namesIn(source)) {
    _checkGoesOn();
    const std::string path = joinPath(source, name);
    struct stat info = {};
    if (lstat(path.c_str(), &info) != 0) {
      throw FileError("cannot read", path, errno);
    }
    if (S_ISDIR(info.st_mode)) {
      addDirectory(path, target.below(name));
    } else if (stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode)) {
      _plan.push_back({Location::local(path), target.below(name), info.st_size});
    } else {
      logLine("Left out, neither a file nor a directory: " + path);
    }
  }
}

}  // namespace

std::vector<PlannedFile> planTransfer(const TransferRequest& request,
                                      const std::string& downloadDirectory,
                                      const std::function<void()>& checkGoesOn) {
  const Location place = destinationOf(request, downloadDirectory);
  const bool intoDirectory = isDirectoryPlace(request, place);
  Planner planner(checkGoesOn);
  for (const RequestedPath& path : request.paths) {
    const Location source = Location::parse(path.source);
    if (request.direction == Direction::eSend && !source.isLocal()) {
      throw std::runtime_error("an upload needs sources on this machine, not " + source.text());
    }
    planner.add(source, intoDirectory ? place.below(nameBelow(path, source)) : place);
  }
  std::vector<PlannedFile> plan = planner.take();
  if (plan.empty()) {
    throw std::runtime_error("there is no file in " + request.paths[0].source);
  }
  return plan;
}

}  // namespace pellion_simulator
