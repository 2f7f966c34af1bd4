#ifndef OS_SRC_GTK_SETUP_H_
#define OS_SRC_GTK_SETUP_H_

namespace Pellion::Web {

// Initialises GTK unless the host program did. False when there is no display; asked again later,
// it tries again. Main thread only, before any other GTK call of the module.
bool ensureGtkInitialised();

}  // namespace Pellion::Web

#endif  // OS_SRC_GTK_SETUP_H_
