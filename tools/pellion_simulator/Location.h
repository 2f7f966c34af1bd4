#ifndef PELLION_SIMULATOR_LOCATION_H_
#define PELLION_SIMULATOR_LOCATION_H_

#include <string>

namespace pellion_simulator {

// Where a transfer reads or writes: a path of this machine or an address on a server. Addresses may
// hold blanks and other bytes as they stand; they are encoded here. A file URL's path is never
// decoded: what follows "file://" is the path itself.
class Location {
 public:
  // An absolute path, a file URL, or an http, https, ftp or ftps address. Throws a runtime error
  // that says what is wrong with the text.
  static Location parse(const std::string& text);
  static Location local(const std::string& path) { return Location(true, path); }
  // Whether the text names something on this machine, well formed or not.
  static bool looksLocal(const std::string& text);

  bool isLocal() const { return _local; }
  bool isHttp() const;
  // The path, or the address ready for use.
  const std::string& text() const { return _text; }
  // Whether it can only mean a directory: it ends in "/", "/." or "/..".
  bool namesDirectory() const;
  // The last part of the path, fit to be a file name ("download" when there is none).
  std::string fileName() const;
  // What lies below: `name` may hold "/" and is taken as it stands.
  Location below(const std::string& name) const;

 private:
  Location(bool local, std::string text) : _local(local), _text(std::move(text)) {}
  // Where a server's query or fragment begins; the whole length for a path.
  size_t endOfPath() const;

  bool _local;
  std::string _text;
};

// Every byte that is not safe in an address's path; "/" stays.
std::string percentEncodePath(const std::string& path);

// Whether a path can only mean a directory, by its last part: "a/", ".", "a/..".
bool namesDirectory(const std::string& path);

// Whether a relative path would leave the directory that it is taken below.
bool climbsOut(const std::string& relativePath);

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_LOCATION_H_
