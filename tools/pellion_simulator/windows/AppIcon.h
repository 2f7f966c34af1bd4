#ifndef PELLION_SIMULATOR_WINDOWS_APP_ICON_H_
#define PELLION_SIMULATOR_WINDOWS_APP_ICON_H_

#include <gdk-pixbuf/gdk-pixbuf.h>

namespace pellion_simulator {

// The program's icon, a square of `size` pixels. The caller unreferences it.
GdkPixbuf* drawAppIcon(int size);

// Gives all windows the icon.
void setDefaultWindowIcon();

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_WINDOWS_APP_ICON_H_
