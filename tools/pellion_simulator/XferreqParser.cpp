#include <algorithm>
#include <pugixml.hpp>

#include "tools/pellion_simulator/ApiError.h"
#include "tools/pellion_simulator/Location.h"
#include "tools/pellion_simulator/TransferRequest.h"

namespace pellion_simulator {

namespace {

const std::string kNamespace = "http://schema.orvane.example/xml/xferreq/";

[[noreturn]] void refuse(const std::string& reason) {
  throw ApiError(400, "The transfer request is not valid: " + reason);
}

std::string positionText(const std::string& xml, ptrdiff_t offset) {
  const auto end = xml.begin() + std::min<ptrdiff_t>(offset, static_cast<ptrdiff_t>(xml.size()));
  return " (line " + std::to_string(1 + std::count(xml.begin(), end, '\n')) + ", offset " +
         std::to_string(offset) + ")";
}

std::string textOf(const pugi::xml_node& element) {
  std::string text;
  for (const pugi::xml_node& child : element) {
    text += child.value();
  }
  return text;
}

void readElement(const pugi::xml_node& element, TransferRequest* request, bool* hasDestination) {
  const std::string name = element.name();
  if (name == "src") {
    request->paths.push_back({textOf(element), ""});
    if (request->paths.back().source.empty()) {
      refuse("a source is empty");
    }
  } else if (name == "dest") {
    if (*hasDestination) {
      refuse("there is more than one destination");
    }
    *hasDestination = true;
    request->destination = textOf(element);
  } else if (name != "param") {
    refuse("unknown element '" + name + "'");
  }
}

pugi::xml_node rootOf(const pugi::xml_document& document) {
  const pugi::xml_node root = document.document_element();
  if (std::string("xferreq") != root.name()) {
    refuse("the root element is '" + std::string(root.name()) + "', not 'xferreq'");
  }
  if (kNamespace != root.attribute("xmlns").value()) {
    refuse("the namespace is '" + std::string(root.attribute("xmlns").value()) + "', not '" +
           kNamespace + "'");
  }
  return root;
}

}  // namespace

TransferRequest parseXferreq(const std::string& xml) {
  pugi::xml_document document;
  // Bytes of file names pass through as they are.
  const pugi::xml_parse_result result =
      document.load_buffer(xml.data(), xml.size(), pugi::parse_default, pugi::encoding_utf8);
  if (!result) {
    throw ApiError(400, std::string("The body is not valid XML: ") + result.description() +
                            positionText(xml, result.offset));
  }
  TransferRequest request;
  bool hasDestination = false;
  for (const pugi::xml_node& child : rootOf(document)) {
    if (child.type() == pugi::node_element) {
      readElement(child, &request, &hasDestination);
    } else {
      refuse("there is text between the elements");
    }
  }
  if (request.paths.empty()) {
    refuse("there is no source");
  }
  if (!request.destination.empty()) {
    request.base = TransferRequest::Base::ePlace;
    const bool allLocal =
        std::all_of(request.paths.begin(), request.paths.end(),
                    [](const RequestedPath& path) { return Location::looksLocal(path.source); });
    request.direction = allLocal ? Direction::eSend : Direction::eReceive;
  }
  return request;
}

}  // namespace pellion_simulator
