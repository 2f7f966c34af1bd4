#ifndef PLUGIN_SRC_UTILS_H_
#define PLUGIN_SRC_UTILS_H_

#include <exception>
#include <string>
#include <vector>

#include "plugin/src/Constants.h"

namespace Pellion::Web {

class HttpRequest;

// Small helpers of the client core. All may be called from any thread, except logInit and
// logCleanup, which belong to the module's start and end.
namespace Utils {

// A request to the local application at its present address, with the content type set. Caller
// deletes. Null when the application has published no address.
HttpRequest* createHttpRequest(ContentType_e type);
HttpRequest* createHttpRequest(const std::string& method, const std::string& uri,
                               const std::string& data, ContentType_e type);

// `path` in the present version of the application's interface: "/v4" and the path.
std::string apiPath(const std::string& path);

// The text of a portability-library error number.
std::string errorCodeToStr(int code);

// Start and stop the log with every detail level enabled; repeated calls do nothing. Without a home
// directory logInit throws a runtime error and the log stays closed.
void logInit();
void logCleanup();

// What a text of unknown origin looks like when it stands as a log line's format without arguments:
// "%%" becomes "%", every other conversion is written as it stands and reads nothing.
std::string textAsLogFormat(const std::string& text);

// Write the exception's text, after "prefix: " if given, at error level. "%%" in it comes out as
// "%".
void logException(const std::exception& e);
void logException(const std::string& prefix, const std::exception& e);

// Does not escape: an element with a quote or a backslash makes the array invalid.
std::string toJsonStr(const std::vector<std::string>& list);

// Hooks without effect on Linux.
bool isSaveDialogOpen(void* dialog);
void closeSaveDialog(void* dialog);
std::string setCurrentDirToUserHome();

}  // namespace Utils

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_UTILS_H_
