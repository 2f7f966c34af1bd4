#ifndef OS_SRC_FILE_DIALOG_H_
#define OS_SRC_FILE_DIALOG_H_

#include <gtk/gtk.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "os/src/GlibGuards.h"
#include "os/src/IDialogImpl.h"
#include "plugin/src/Runnable.h"

namespace Pellion::Web {

// What the three file dialogs share: a job for the browser's main thread that shows one native
// chooser and turns the picked paths into the JSON text for the page. Made per request, init()
// first, then either show() (blocking) or run() (posted), once.
class FileDialog : public Runnable {
 public:
  // Makes the chooser's parent and implementation. `display` is not used. Returns true.
  bool init(const std::string& display);

  // Blocks until the user answers; returns the picked paths. Throws a runtime error for a bad list
  // of file types and without a display.
  std::vector<std::string> show();

  bool isInterrupted() override { return _interrupted; }
  unsigned long result() override;
  std::string resultStr() override { return _resultText; }
  // Like show(), with an error document as the result text where show() throws. Does nothing when
  // the job was stopped before.
  void run() override;
  // A chooser on screen stays until the user answers; one that did not run yet never shows.
  void stop() override;

  const std::vector<std::string>& selectedPaths() const { return _selectedPaths; }
  // No native handle is exposed.
  void* getSystemDialog() const { return nullptr; }

 protected:
  // `parent` is the native (X11) window id.
  FileDialog(unsigned long parent, const std::string& title) : _parent(parent), _title(title) {}

  const std::string& title() const { return _title; }

 private:
  virtual std::unique_ptr<IDialogImpl> createImpl(GtkWindow* parent) const = 0;
  virtual const char* errorText() const = 0;
  virtual std::string toResultText(const std::vector<std::string>& paths) const;

  void showHelper(bool timed);

  OwnedToplevel _plug;  // the chooser's parent window, which outlives it
  std::unique_ptr<IDialogImpl> _impl;
  std::atomic<bool> _interrupted{false};
  const unsigned long _parent;
  std::string _resultText;
  std::vector<std::string> _selectedPaths;
  const std::string _title;
};

}  // namespace Pellion::Web

#endif  // OS_SRC_FILE_DIALOG_H_
