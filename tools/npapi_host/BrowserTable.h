#ifndef TOOLS_NPAPI_HOST_BROWSER_TABLE_H_
#define TOOLS_NPAPI_HOST_BROWSER_TABLE_H_

#include <memory>

#include "npapi/npfunctions.h"

namespace npapi_host {

class Instance;

// What the module may call. No entry is null; what this browser does not offer answers an error.
// Modules may keep the table's address: it lives as long as the process.
NPNetscapeFuncs* browserTable();

// The entries of each subject, one source file each.
void addObjectFunctions(NPNetscapeFuncs* table);
void addPageFunctions(NPNetscapeFuncs* table);
void addMissingFunctions(NPNetscapeFuncs* table);

// Ends the process with a message when the caller, named for it, is not on the main thread.
void requireMainThread(const char* function);
// Null, with a complaint about the module, when there is no such instance.
std::shared_ptr<Instance> requireInstance(NPP npp, const char* function);

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_BROWSER_TABLE_H_
