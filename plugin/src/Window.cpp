#include "plugin/src/Window.h"

#include "plugin/src/HttpRequest.h"
#include "plugin/src/Pellion.h"

namespace Pellion::Web {

Window::Window(const std::string& name) : _name(name) {}

bool Window::show(const std::string& argument) {
  // Deliberate: this path has no version in front.
  return PellionApp::ask(HttpRequest::kGetMethod, "/windows/" + _name + "/" + argument,
                         std::string(), "Error displaying window: ");
}

}  // namespace Pellion::Web
