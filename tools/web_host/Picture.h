#ifndef TOOLS_WEB_HOST_PICTURE_H_
#define TOOLS_WEB_HOST_PICTURE_H_

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>

namespace web_host {

// A picture that pages are not shown; what() is the rule.
class PictureError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A still picture as browsers can show it, and as the module's own area has it.
struct Picture {
  static constexpr size_t kMostBytes = size_t{4} * 1024 * 1024;
  static constexpr int kMostPixels = 4096;  // a side

  std::string type;  // "image/png" or "image/jpeg"
  std::string bytes;
  int width = 0;
  int height = 0;
};

// The picture in `bytes`, of any format that GdkPixbuf knows. What is no PNG or JPEG, moves, would
// be turned by a browser, or broke off on its way, is made a PNG. Nothing when it is no picture.
// Throws PictureError when it is larger than the limits above.
std::optional<Picture> readPicture(const std::string& bytes);

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_PICTURE_H_
