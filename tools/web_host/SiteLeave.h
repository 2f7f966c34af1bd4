#ifndef TOOLS_WEB_HOST_SITE_LEAVE_H_
#define TOOLS_WEB_HOST_SITE_LEAVE_H_

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "tools/web_host/Desktop.h"
#include "tools/web_host/FdGuard.h"
#include "tools/web_host/LeaveDialog.h"
#include "tools/web_host/Message.h"
#include "tools/web_host/Sites.h"

namespace web_host {

// The user's leave for the document of this process: read from the sites files, or asked for. Main
// thread only.
class SiteLeave {
 public:
  // In a private window nothing is kept. `say` takes sentences for the page's console.
  // `desktop` is borrowed and outlives this.
  SiteLeave(const Hello& hello, Desktop* desktop, std::function<void(const std::string&)> say);
  SiteLeave(const SiteLeave&) = delete;
  SiteLeave& operator=(const SiteLeave&) = delete;

  bool decided() const { return _state != State::kUndecided; }
  bool allowed() const { return _state == State::kAllowed; }
  // Why the site may not; empty when it may.
  const std::string& refusal() const { return _refusal; }
  // False for origins that are never allowed.
  bool possible() const { return _originComplaint.empty(); }
  // What the sites files say now. Nothing when they do not, or when it is not possible.
  std::optional<Sites::Entry> entry();
  // What the sites files said when it was decided, or were told then; nothing when the answer is
  // for this document only.
  std::optional<Leave> kept() const { return _kept; }
  // The origin in its normal form.
  const std::string& origin() const { return _origin; }

  // Decides, and calls `done` then: at once, or from the main loop when the user has answered. One
  // question at a time is asked, by whichever process. Must not be called again meanwhile.
  void decide(std::function<void()> done);

 private:
  enum class State { kUndecided, kAllowed, kDenied };

  bool readSites();
  void finish(State state, const std::string& refusal = std::string());
  void deny(const std::string& reason);
  void waitForTurn();
  void ask();
  void answered(LeaveDialog::Answer answer);
  void keep(Leave leave);

  std::string _origin;
  std::string _originComplaint;
  const bool _isPrivate;
  Desktop* _desktop;
  const std::function<void(const std::string&)> _say;
  State _state = State::kUndecided;
  std::string _refusal;
  std::optional<Leave> _kept;
  std::function<void()> _done;
  FdGuard _turn;  // locked while this process asks
  std::unique_ptr<LeaveDialog> _dialog;
};

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_SITE_LEAVE_H_
