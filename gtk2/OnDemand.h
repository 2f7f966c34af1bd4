#ifndef GTK2_ON_DEMAND_H_
#define GTK2_ON_DEMAND_H_

#include <string>

// Defines the functions of GTK 2 that we call, by small ones of the same names: the first call of
// any of them loads the library. With the forty libraries that it brings along, it takes three
// quarters of the time that a program takes to start, and most pages never need a window.
namespace gtk2 {

// Loads GTK 2, unless that was done. Any thread. False with the reason in `error` (may be null)
// when it cannot be loaded; asked again later, it tries again. Calls of its functions end the
// process then, so this is to be asked before the first one.
bool load(std::string* error);

// Whether this process has it, by us or by another of its parts. Any thread.
bool isLoaded();

}  // namespace gtk2

#endif  // GTK2_ON_DEMAND_H_
