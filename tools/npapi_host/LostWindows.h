#ifndef TOOLS_NPAPI_HOST_LOST_WINDOWS_H_
#define TOOLS_NPAPI_HOST_LOST_WINDOWS_H_

namespace npapi_host {

// After GTK's start: an X window that another program takes away no longer ends this process, nor
// does GDK complain of it; whoever had the window hears by its destroy event. Other errors of the X
// server stay with GDK.
void tolerateLostWindows();

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_LOST_WINDOWS_H_
