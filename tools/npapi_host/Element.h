#ifndef TOOLS_NPAPI_HOST_ELEMENT_H_
#define TOOLS_NPAPI_HOST_ELEMENT_H_

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace npapi_host {

using NameValues = std::vector<std::pair<std::string, std::string>>;

// Which plugin instance holds a page object; never used twice, 0 is none.
using Owner = uint64_t;

// What the page says of one of its embed elements.
struct Element {
  std::string mimeType;
  NameValues params;  // a "type" is added in front when there is none
  int width = 0;      // pixels, at most 65535
  int height = 0;
  bool windowed = true;  // has an area in the page's window, when there is one
};

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_ELEMENT_H_
