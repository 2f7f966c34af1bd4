#include "browsers/npapi_common/CBoundary.h"

#include "ovlib/ovlog.h"

void CBoundary::logException(const char* where, const char* text) {
  ov_err("%s%s%s", where, *where != '\0' ? ": " : "", text);
}
