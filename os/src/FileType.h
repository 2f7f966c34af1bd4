#ifndef OS_SRC_FILE_TYPE_H_
#define OS_SRC_FILE_TYPE_H_

#include <string>
#include <vector>

namespace Pellion::Web {

// One entry of the page's list of file types.
struct FileType {
  std::string _filterName;               // the name shown for the filter
  std::vector<std::string> _extensions;  // without a dot
};

}  // namespace Pellion::Web

#endif  // OS_SRC_FILE_TYPE_H_
