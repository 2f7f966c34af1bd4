#ifndef PLUGIN_SRC_CALLBACK_H_
#define PLUGIN_SRC_CALLBACK_H_

namespace Pellion::Web {

// Told once when something finished. What `data` points to is fixed by the caller: the finished
// job, or the HttpResponse of a request (null when there was none). The data is borrowed for the
// call.
class Callback {
 public:
  Callback() = default;
  virtual ~Callback() = default;
  Callback(const Callback&) = delete;
  Callback& operator=(const Callback&) = delete;

  virtual void handleCallback(void* data) = 0;
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_CALLBACK_H_
