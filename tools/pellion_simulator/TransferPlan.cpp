#include "tools/pellion_simulator/TransferPlan.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "tools/pellion_simulator/FileIo.h"

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
         !request.paths[0].name.empty() || place.endsInSlash() ||
         (place.isLocal() && isDirectory(place.text()));
}

void planDirectory(const Location& source, const Location& target, std::vector<PlannedFile>* plan) {
  std::vector<fs::path> found;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(source.text())) {
    if (entry.is_regular_file()) {
      found.push_back(entry.path());
    }
  }
  std::sort(found.begin(), found.end());
  for (const fs::path& file : found) {
    const std::string below = file.lexically_relative(source.text()).string();
    plan->push_back({Location::local(file.string()), target.below(below),
                     static_cast<int64_t>(fs::file_size(file))});
  }
}

void planSource(const Location& source, const Location& target, std::vector<PlannedFile>* plan) {
  if (!source.isLocal()) {
    plan->push_back({source, target, -1});
  } else if (isDirectory(source.text())) {
    planDirectory(source, target, plan);
  } else {
    off_t size = 0;
    openRegularFile(source.text(), &size);
    plan->push_back({source, target, size});
  }
}

}  // namespace

std::vector<PlannedFile> planTransfer(const TransferRequest& request,
                                      const std::string& downloadDirectory) {
  const Location place = destinationOf(request, downloadDirectory);
  const bool intoDirectory = isDirectoryPlace(request, place);
  std::vector<PlannedFile> plan;
  for (const RequestedPath& path : request.paths) {
    const Location source = Location::parse(path.source);
    if (request.direction == Direction::eSend && !source.isLocal()) {
      throw std::runtime_error("an upload needs sources on this machine, not " + source.text());
    }
    const std::string name = path.name.empty() ? source.fileName() : path.name;
    planSource(source, intoDirectory ? place.below(name) : place, &plan);
  }
  if (plan.empty()) {
    throw std::runtime_error("there is no file in " + request.paths[0].source);
  }
  return plan;
}

}  // namespace pellion_simulator
