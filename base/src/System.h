#ifndef BASE_SRC_SYSTEM_H_
#define BASE_SRC_SYSTEM_H_

enum OsVersion_e {
  eUnknownOsVersion = 0,
  eWindowsOsVersion = 1,
  eWindows95OsVersion = 2,
  eWindows2000OsVersion = 3,
  eWindowsVistaOsVersion = 4,
  eMacOsXOsVersion = 5,
};

// What the operating system tells of itself.
class System {
 public:
  System() = delete;

  // Always unknown on Linux.
  static OsVersion_e QueryOsVersion();
};

#endif  // BASE_SRC_SYSTEM_H_
