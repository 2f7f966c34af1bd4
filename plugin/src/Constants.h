#ifndef PLUGIN_SRC_CONSTANTS_H_
#define PLUGIN_SRC_CONSTANTS_H_

// Names, limits and user-visible texts that the whole plugin shares. They are plain arrays, so that
// they are there before the first constructor and after the last destructor of the module.

namespace Pellion::Web {

// What the body of a request to the local application is made of.
enum ContentType_e { eContentJson = 0, eContentXml = 1 };

// Every path of the application's interface begins with "/v" and this version.
inline constexpr char kPellionApiVersion[] = "4";
inline constexpr char kProductName[] = "Orvane Pellion";
inline constexpr int kDefaultLaunchTimeoutMs = 20000;

inline constexpr char kDialogAllFiles[] = "All files";
inline constexpr wchar_t kDialogAllFilesW[] = L"All files";
inline constexpr char kDialogAllFilesPattern[] = "*.*";
inline constexpr wchar_t kDialogAllFilesPatternW[] = L"*.*";
inline constexpr char kDialogEtAl[] = "et al";
inline constexpr wchar_t kDialogEtAlW[] = L"et al";

inline constexpr char kMsgPellionLaunch[] = "Launching Orvane Pellion";

// An error has no number: its text identifies it in the log and in the error document.
inline constexpr char kErrorSessionAlreadyInitialized[] = "Session was already initialized";
inline constexpr char kErrorBadAppIdHostname[] = "Invalid application ID hostname";
inline constexpr char kErrorPellionRequest[] =
    "Error contacting Orvane Pellion. Ensure that it is running, and not blocked by your firewall "
    "or security policies.";
inline constexpr char kErrorPellionVersion[] = "Error retrieving the Orvane Pellion version";
inline constexpr char kErrorCreatingHttpRequest[] = "Error creating HTTP request";
inline constexpr char kErrorDialogAlreadyOpen[] = "A dialog is already open";
inline constexpr char kErrorInvalidArgument[] = "Invalid argument";
inline constexpr char kErrorInvalidFileTypesJson[] = "Error parsing fileTypes JSON";
inline constexpr char kErrorJsonParse[] = "Error parsing JSON";
inline constexpr char kErrorLogInit[] = "Error initializing log";
inline constexpr char kErrorMissingAppId[] = "Missing application ID - First initialize session";
inline constexpr char kErrorSessionInit[] = "Error initializing session";
inline constexpr char kErrorStringEncoding[] = "Error converting string encoding";
inline constexpr char kErrorUnauthorizedDownloadPath[] =
    "The website attempted to transfer to an unauthorized directory";
inline constexpr char kErrorUnexpectedFileDialog[] = "Error displaying open file dialog";
inline constexpr char kErrorUnexpectedFolderDialog[] = "Error displaying open folder dialog";
inline constexpr char kErrorUnexpectedSaveDialog[] = "Error displaying save file dialog";

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_CONSTANTS_H_
