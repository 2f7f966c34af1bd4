#include "tools/pellion_simulator/ActivityReport.h"

#include <algorithm>
#include <charconv>

#include "tools/json/JsonDocument.h"
#include "tools/json/JsonWriter.h"
#include "tools/pellion_simulator/ApiError.h"

using json::JsonDocument;
using json::JsonWriter;

namespace pellion_simulator {

namespace {

// A directory may hold many thousand files, and the report goes out once a second.
const size_t kMostFiles = 100;

uint64_t readToken(const JsonDocument& document) {
  const std::string token = JsonDocument::string(document.root(), {"iteration_token"}).value_or("");
  uint64_t count = 0;
  if (token.empty()) {
    return count;
  }
  const char* end = token.data() + token.size();
  const auto [stop, error] = std::from_chars(token.data(), end, count);
  if (error != std::errc() || stop != end) {
    throw ApiError(400, "iteration_token must be one that an earlier answer held, or empty");
  }
  return count;
}

void writeFiles(const TransferState& state, JsonWriter* json) {
  const size_t listed = std::min(state.files.size(), kMostFiles);
  json->key("file_count").value(static_cast<int64_t>(state.files.size()));
  json->key("files").openArray();
  for (size_t i = 0; i < listed; ++i) {
    const TransferFile& file = state.files[i];
    json->openObject().key("source").value(file.source).key("path").value(file.path);
    json->key("bytes_written").value(file.written);
    json->key("bytes_expected").value(std::max<int64_t>(file.expected, 0)).closeObject();
  }
  json->closeArray();
}

void writeTransfer(const TransferState& state, JsonWriter* json) {
  json->openObject().key("id").value(state.id).key("app_id").value(state.appId);
  json->key("direction").value(state.direction == Direction::eSend ? "send" : "receive");
  json->key("status").value(statusName(state.status));
  json->key("bytes_written").value(state.written());
  json->key("bytes_expected").value(state.expected());
  json->key("percentage").value(static_cast<int64_t>(state.percentage()));
  json->key("rate").value(state.rate);
  json->key("error").value(state.error);
  writeFiles(state, json);
  json->closeObject();
}

}  // namespace

std::string activityReport(const TransferQueue& queue, const std::string& body) {
  const JsonDocument document(body.empty() ? "{}" : body);
  const std::string appId =
      JsonDocument::string(document.root(), {"orvane_pellion_settings", "app_id"}).value_or("");
  const TransferQueue::Changes changes = queue.changesSince(readToken(document));
  JsonWriter json;
  json.openObject().key("iteration_token").value(std::to_string(changes.count));
  json.key("transfers").openArray();
  for (const TransferState& state : changes.transfers) {
    if (appId.empty() || state.appId.empty() || state.appId == appId) {
      writeTransfer(state, &json);
    }
  }
  return json.closeArray().closeObject().text();
}

}  // namespace pellion_simulator
