#ifndef TOOLS_WEB_HOST_FD_GUARD_H_
#define TOOLS_WEB_HOST_FD_GUARD_H_

#include <unistd.h>

namespace web_host {

// Owns a descriptor, or none (-1).
class FdGuard {
 public:
  explicit FdGuard(int descriptor = -1) : _descriptor(descriptor) {}
  ~FdGuard() { reset(); }
  FdGuard(const FdGuard&) = delete;
  FdGuard& operator=(const FdGuard&) = delete;

  int get() const { return _descriptor; }
  void reset(int descriptor = -1) {
    if (_descriptor >= 0) {
      close(_descriptor);
    }
    _descriptor = descriptor;
  }

 private:
  int _descriptor;
};

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_FD_GUARD_H_
