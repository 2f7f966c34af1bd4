#ifndef BROWSERS_NPAPI_COMMON_OPEN_DIALOG_MARK_H_
#define BROWSERS_NPAPI_COMMON_OPEN_DIALOG_MARK_H_

#include <memory>
#include <utility>

// Says, as long as it exists, that an instance has a dialog on screen or on its way there. The
// count of these is shared with the instance, which may go first. It is above one when the browser
// lets the page ask for a dialog while it is asked for its window for another. Main thread only.
class OpenDialogMark {
 public:
  using Count = std::shared_ptr<int>;

  explicit OpenDialogMark(Count count) : _count(std::move(count)) { ++*_count; }
  ~OpenDialogMark() { remove(); }
  OpenDialogMark(const OpenDialogMark&) = delete;
  OpenDialogMark& operator=(const OpenDialogMark&) = delete;

  void remove() {
    if (_count) {
      --*_count;
      _count.reset();
    }
  }

 private:
  Count _count;
};

#endif  // BROWSERS_NPAPI_COMMON_OPEN_DIALOG_MARK_H_
