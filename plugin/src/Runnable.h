#ifndef PLUGIN_SRC_RUNNABLE_H_
#define PLUGIN_SRC_RUNNABLE_H_

#include <string>

namespace Pellion::Web {

// A job that runs once, on whatever thread its owner chooses.
class Runnable {
 public:
  Runnable() = default;
  virtual ~Runnable() = default;
  Runnable(const Runnable&) = delete;
  Runnable& operator=(const Runnable&) = delete;

  // True when the job ended because it was stopped or cancelled.
  virtual bool isInterrupted() = 0;
  virtual unsigned long result() { return 0; }
  virtual std::string resultStr() { return std::string(); }
  // Does the work; may block.
  virtual void run() = 0;
  // Asks a running or not yet started job to end soon. May be called from another thread.
  virtual void stop() = 0;
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_RUNNABLE_H_
