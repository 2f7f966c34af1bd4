#ifndef PLUGIN_SRC_XMLESCAPER_H_
#define PLUGIN_SRC_XMLESCAPER_H_

#include <string>

namespace Pellion::Web {

// Text for the content of an XML element.
class XmlEscaper {
 public:
  XmlEscaper() = delete;

  // Writes '&', '<' and '>' as entities and every other byte, quotes included, as it is.
  static std::string escape(const std::string& text);
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_XMLESCAPER_H_
