#ifndef PLUGIN_SRC_WINDOW_H_
#define PLUGIN_SRC_WINDOW_H_

#include <string>

namespace Pellion::Web {

// A window of the local application, known by its name.
class Window {
 public:
  explicit Window(const std::string& name);
  virtual ~Window() = default;
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  // Launches the application if needed and asks it to show the window. Blocks. True when it
  // answered, whatever it said.
  bool show(const std::string& argument);

 private:
  std::string _name;
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_WINDOW_H_
