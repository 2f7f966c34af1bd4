#ifndef BROWSERS_NPAPI_COMMON_OPEN_DIALOG_MARK_H_
#define BROWSERS_NPAPI_COMMON_OPEN_DIALOG_MARK_H_

#include <memory>
#include <utility>

// Says, as long as it exists, that an instance has a dialog on screen or on its way there. The flag
// is shared with the instance, which may go first. Main thread only.
class OpenDialogMark {
 public:
  using Flag = std::shared_ptr<bool>;

  explicit OpenDialogMark(Flag flag) : _flag(std::move(flag)) { *_flag = true; }
  ~OpenDialogMark() { remove(); }
  OpenDialogMark(const OpenDialogMark&) = delete;
  OpenDialogMark& operator=(const OpenDialogMark&) = delete;

  void remove() {
    if (_flag) {
      *_flag = false;
      _flag.reset();
    }
  }

 private:
  Flag _flag;
};

#endif  // BROWSERS_NPAPI_COMMON_OPEN_DIALOG_MARK_H_
