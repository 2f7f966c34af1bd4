// What the application's stand-in reads of clients: transfer requests in XML and JSON, and places.
#include <algorithm>
#include <stdexcept>

#include "fuzz/FuzzInput.h"
#include "plugin/src/XmlEscaper.h"
#include "tools/json/JsonDocument.h"
#include "tools/json/JsonError.h"
#include "tools/pellion_simulator/ApiError.h"
#include "tools/pellion_simulator/Location.h"
#include "tools/pellion_simulator/TransferRequest.h"

using namespace pellion_simulator;
using json::JsonDocument;
using json::JsonError;
using json::JsonValue;
using Pellion::Web::XmlEscaper;

namespace {

const char kStart[] = "<xferreq xmlns=\"http://schema.orvane.example/xml/xferreq/\">";

bool staysBelow(const std::string& name) {
  return name.empty() || (name[0] != '/' && !contains("/" + name + "/", "/../"));
}

void checkRequest(const TransferRequest& request) {
  FUZZ_CHECK(!request.paths.empty());
  for (const RequestedPath& path : request.paths) {
    FUZZ_CHECK(!path.source.empty() && staysBelow(path.name));
  }
  FUZZ_CHECK(request.base == TransferRequest::Base::ePlace ? !request.destination.empty()
                                                           : staysBelow(request.destination));
}

// Answers what the client would be told.
template <typename Parse>
std::string refusalOf(Parse parse) {
  try {
    parse();
  } catch (const ApiError& error) {
    FUZZ_CHECK(error.status() == 400);
    return error.what();
  } catch (const JsonError& error) {
    return error.what();
  }
  return std::string();
}

void checkRefusal(const std::string& refusal) {
  const JsonDocument document(errorDocument(400, refusal));
  const auto told = JsonDocument::string(document.root(), {"error", "user_message"});
  FUZZ_CHECK(told.has_value() && told->empty() == refusal.empty());
}

size_t depthOf(const JsonValue& value) {
  size_t deepest = 0;
  for (const JsonValue& item : value.items) {
    deepest = std::max(deepest, depthOf(item));
  }
  return deepest + 1;
}

void checkReading(const std::string& text) {
  refusalOf([&] { FUZZ_CHECK(depthOf(JsonDocument(text).root()) <= 1001); });
  checkRefusal(refusalOf([&] { checkRequest(parseXferreq(text)); }));
  checkRefusal(refusalOf([&] {
    for (const TransferRequest& request : parseTransferSpecs(text)) {
      checkRequest(request);
    }
  }));
}

// What the plugin's writer escapes, this reader reads; line ends and blanks aside.
void checkXml(const std::vector<std::string>& sources) {
  std::string xml = kStart;
  for (const std::string& source : sources) {
    if (source.find_first_not_of(" \t\n") == std::string::npos ||
        source.find_first_of(std::string("\r\0", 2)) != std::string::npos) {
      return;
    }
    xml += "<src>" + XmlEscaper::escape(source) + "</src>";
  }
  const std::string refusal = refusalOf([&] {
    const TransferRequest request = parseXferreq(xml + "</xferreq>");
    FUZZ_CHECK(request.paths.size() == sources.size());
    for (size_t i = 0; i < sources.size(); ++i) {
      FUZZ_CHECK(request.paths[i].source == sources[i]);
    }
  });
  FUZZ_CHECK(refusal.empty() == !sources.empty());
}

void checkPlace(const std::string& text) {
  try {
    const Location place = Location::parse(text);
    const std::string name = place.fileName();
    FUZZ_CHECK(!name.empty() && name != "." && name != ".." && !contains(name, "/"));
    FUZZ_CHECK(place.isLocal() == Location::looksLocal(text) && !place.text().empty());
    FUZZ_CHECK(!place.isLocal() || place.text()[0] == '/');
    const Location below = place.below(name);
    FUZZ_CHECK(below.isLocal() == place.isLocal() && below.fileName() == name);
  } catch (const std::runtime_error& error) {
    FUZZ_CHECK(*error.what() != '\0');
  }
}

}  // namespace

void tryInput(FuzzInput input) {
  checkReading(input.whole());
  checkPlace(input.whole());
  checkXml(input.texts(8));
}
