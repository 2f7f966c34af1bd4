#include "base/src/System.h"

OsVersion_e System::QueryOsVersion() {
  return eUnknownOsVersion;
}
