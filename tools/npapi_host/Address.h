#ifndef TOOLS_NPAPI_HOST_ADDRESS_H_
#define TOOLS_NPAPI_HOST_ADDRESS_H_

#include <string>

namespace npapi_host {

// "file:///..." for a path, which is made absolute; what an address may not hold is escaped.
std::string fileAddress(const std::string& path);

// The path that a file address of this machine names; empty when it is none.
std::string pathOfFileAddress(const std::string& address);

// What stands before the colon; empty when the address is relative.
std::string schemeOf(const std::string& address);

// The absolute form of an address that stands in a document at `base`: the scheme in lower case,
// blanks escaped.
std::string resolveAddress(const std::string& text, const std::string& base);

// "data:[type][;base64],payload". False when it is no such address or its payload is broken.
bool decodeDataAddress(const std::string& address, std::string* type, std::string* bytes);

// By the file name's ending; "application/octet-stream" for the unknown.
std::string typeOfFile(const std::string& address);

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_ADDRESS_H_
