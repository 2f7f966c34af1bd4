#include "base/src/UriFile.h"

UriFile::UriFile(const std::string&) {}

std::string UriFile::ReadUri() {
  return std::string();
}
