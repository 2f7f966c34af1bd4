#ifndef BROWSERS_NPAPI_COMMON_HAND_OVER_H_
#define BROWSERS_NPAPI_COMMON_HAND_OVER_H_

// Something for the page that a background thread posts to the main thread.
class HandOver {
 public:
  HandOver() = default;
  virtual ~HandOver() = default;
  HandOver(const HandOver&) = delete;
  HandOver& operator=(const HandOver&) = delete;

  // Calls the page. Main thread, once, while the instance lives; it may end in the call.
  virtual void deliver() = 0;
};

#endif  // BROWSERS_NPAPI_COMMON_HAND_OVER_H_
