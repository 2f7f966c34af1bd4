#include "plugin/src/Window.h"

#include <memory>

#include "ovlib/ovlog.h"
#include "plugin/src/Constants.h"
#include "plugin/src/HttpRequest.h"
#include "plugin/src/HttpResponse.h"
#include "plugin/src/Pellion.h"
#include "plugin/src/Utils.h"

namespace Pellion::Web {

Window::Window(const std::string& name) : _name(name) {}

bool Window::show(const std::string& argument) {
  if (!PellionApp::launch()) {
    ov_err("%s", kErrorPellionRequest);
    return false;
  }
  const std::unique_ptr<HttpRequest> request(Utils::createHttpRequest(
      HttpRequest::kGetMethod, "/windows/" + _name + "/" + argument, std::string(), eContentXml));
  if (!request) {
    ov_err("%s", kErrorCreatingHttpRequest);
    return false;
  }
  const std::unique_ptr<HttpResponse> response(request->invoke());
  if (!response) {
    ov_err("Error displaying window: %s", kErrorPellionRequest);
  }
  return response != nullptr;
}

}  // namespace Pellion::Web
