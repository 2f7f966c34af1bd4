#include "tools/json/JsonDocument.h"
#include "tools/pellion_simulator/ApiError.h"
#include "tools/pellion_simulator/Location.h"
#include "tools/pellion_simulator/TransferRequest.h"

using json::JsonDocument;
using json::JsonValue;

namespace pellion_simulator {

namespace {

// The name below a directory that a client may choose freely, as long as it stays there.
void checkStaysBelow(const std::string& what, const std::string& name) {
  if (name[0] == '/' || name.find("://") != std::string::npos || climbsOut(name)) {
    throw ApiError(400, what + " must be a relative path without '..': " + name);
  }
}

Direction readDirection(const JsonValue& spec) {
  const std::string text = JsonDocument::string(spec, {"direction"}).value_or("");
  if (text != "receive" && text != "send") {
    throw ApiError(400, "direction must be \"receive\" or \"send\", not \"" + text + "\"");
  }
  return text == "send" ? Direction::eSend : Direction::eReceive;
}

bool isRelative(const std::string& text) {
  return !Location::looksLocal(text) && text.find("://") == std::string::npos;
}

std::string belowRemote(const std::string& remoteUrl, const std::string& path) {
  const size_t start = path.find_first_not_of('/');
  return remoteUrl + (remoteUrl.back() == '/' ? "" : "/") +
         percentEncodePath(start == std::string::npos ? "" : path.substr(start));
}

const std::vector<JsonValue>& readList(const JsonValue& node, const char* name) {
  const JsonValue* list = node.member(name);
  if (list == nullptr || !list->is(JsonValue::Kind::kArray) || list->items.empty()) {
    throw ApiError(400, std::string(name) + " must be an array that is not empty");
  }
  return list->items;
}

std::vector<RequestedPath> readPaths(const JsonValue& spec) {
  const std::vector<JsonValue>& list = readList(spec, "paths");
  std::vector<RequestedPath> paths;
  for (const JsonValue& item : list) {
    RequestedPath path;
    path.source = JsonDocument::string(item, {"source"}).value_or("");
    path.name = JsonDocument::string(item, {"destination"}).value_or("");
    if (path.source.empty()) {
      throw ApiError(400, "a source is missing in paths");
    }
    checkStaysBelow("destination", path.name);
    paths.push_back(path);
  }
  return paths;
}

void resolveRemote(const std::string& remoteUrl, TransferRequest* request) {
  if (request->direction == Direction::eSend) {
    if (request->destination.find("://") == std::string::npos) {
      request->destination = belowRemote(remoteUrl, request->destination);
    }
    return;
  }
  for (RequestedPath& path : request->paths) {
    if (path.source.find("://") == std::string::npos) {
      path.source = belowRemote(remoteUrl, path.source);
    }
  }
}

void checkPlaces(bool absolute, TransferRequest* request) {
  if (request->direction == Direction::eSend || absolute) {
    request->base = TransferRequest::Base::ePlace;
    if (request->destination.empty() || isRelative(request->destination)) {
      throw ApiError(400, "destination_root must be absolute: " + request->destination);
    }
  } else {
    checkStaysBelow("destination_root", request->destination);
  }
  // A relative source would be sought in whatever directory this program was started in.
  for (const RequestedPath& path : request->paths) {
    if (isRelative(path.source)) {
      throw ApiError(400, "a source must be absolute, or remote_url be given: " + path.source);
    }
  }
}

TransferRequest readSpec(const JsonValue& element) {
  const JsonValue* member = element.member("transfer_spec");
  if (member == nullptr || !member->is(JsonValue::Kind::kObject)) {
    throw ApiError(400, "transfer_spec must be an object");
  }
  const JsonValue& spec = *member;
  TransferRequest request;
  request.appId = JsonDocument::string(element, {"orvane_pellion_settings", "app_id"}).value_or("");
  request.direction = readDirection(spec);
  request.paths = readPaths(spec);
  request.destination = JsonDocument::string(spec, {"destination_root"}).value_or("");
  const std::string remoteUrl = JsonDocument::string(spec, {"remote_url"}).value_or("");
  if (!remoteUrl.empty()) {
    resolveRemote(remoteUrl, &request);
  }
  checkPlaces(
      JsonDocument::boolean(element, {"orvane_pellion_settings", "use_absolute_destination_path"}),
      &request);
  return request;
}

}  // namespace

std::vector<TransferRequest> parseTransferSpecs(const std::string& json) {
  const JsonDocument document(json);
  const std::vector<JsonValue>& list = readList(document.root(), "transfer_specs");
  const std::string appId =
      JsonDocument::string(document.root(), {"orvane_pellion_settings", "app_id"}).value_or("");
  std::vector<TransferRequest> requests;
  for (size_t i = 0; i < list.size(); ++i) {
    try {
      requests.push_back(readSpec(list[i]));
    } catch (const std::runtime_error& error) {
      throw ApiError(400, "transfer_specs[" + std::to_string(i) + "]: " + error.what());
    }
    if (requests.back().appId.empty()) {
      requests.back().appId = appId;
    }
  }
  return requests;
}

}  // namespace pellion_simulator
