#ifndef OS_SRC_I_DIALOG_IMPL_H_
#define OS_SRC_I_DIALOG_IMPL_H_

#include <string>
#include <vector>

namespace Pellion::Web {

enum DIALOG_STATE {
  DIALOG_STATE_ABORT = 0,
  DIALOG_STATE_CANCEL = 1,
  DIALOG_STATE_OK = 2,
  DIALOG_STATE_OPEN = 3,
  DIALOG_STATE_UNOPENED = 4
};

// Puts one native chooser on the screen and returns what the user picked. Main thread only, but for
// close().
class IDialogImpl {
 public:
  IDialogImpl() = default;
  virtual ~IDialogImpl() = default;
  IDialogImpl(const IDialogImpl&) = delete;
  IDialogImpl& operator=(const IDialogImpl&) = delete;

  void close() { doClose(); }
  // Blocks in a nested main loop until the user answers. Throws a runtime error when the chooser
  // cannot be shown.
  std::vector<std::string> show() { return doShow(); }
  int getState() const { return _state; }
  void setTimeout(int timeout) { _timeout = timeout; }

 protected:
  virtual void doClose() = 0;
  virtual void doOnTimeout() {}
  virtual std::vector<std::string> doShow() = 0;

 private:
  int _state = DIALOG_STATE_UNOPENED;
  int _timeout = 0;
};

}  // namespace Pellion::Web

#endif  // OS_SRC_I_DIALOG_IMPL_H_
