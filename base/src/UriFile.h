#ifndef BASE_SRC_URIFILE_H_
#define BASE_SRC_URIFILE_H_

#include <string>

// A platform's own way to read the address that the local application publishes. Linux has none:
// the file is read as any other.
class UriFile {
 public:
  explicit UriFile(const std::string& path);
  virtual ~UriFile() = default;
  UriFile(const UriFile&) = delete;
  UriFile& operator=(const UriFile&) = delete;

  // Always empty on Linux.
  std::string ReadUri();
};

#endif  // BASE_SRC_URIFILE_H_
