#ifndef OS_SRC_GTK_SETUP_H_
#define OS_SRC_GTK_SETUP_H_

namespace Pellion::Web {

// Initialises GTK unless the host program did. False when there is no GTK or no display; asked
// again later, it tries again. Main thread only, before any other GTK call of the module.
bool ensureGtkInitialised();

// Calls `step`, which needs GTK: now when the process has initialised it, else as soon as the
// module does. Nothing is loaded for it alone. Main thread only.
void whenGtkIsInitialised(void (*step)());

}  // namespace Pellion::Web

#endif  // OS_SRC_GTK_SETUP_H_
