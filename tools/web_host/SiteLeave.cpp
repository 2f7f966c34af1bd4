#include "tools/web_host/SiteLeave.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "tools/npapi_host/MainLoop.h"
#include "tools/web_host/Origin.h"

namespace web_host {

using npapi_host::MainLoop;

namespace {

const unsigned kTurnMilliseconds = 200;
const char kRefused[] = "This site is not allowed to use Orvane Web";
const char kByOthers[] = ", says the administrator of this computer.";
const char kUnreadable[] = ": the administrator's list of sites cannot be read.";

// Pages read this: no path is in it.
std::string howToAllow(const std::string& origin) {
  return " To allow it, run: orvane-web-host --allow " + origin;
}

// Whoever asks holds the lock of this file. Throws a runtime error.
int openTurn() {
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  const std::string path = runtime != nullptr && runtime[0] == '/'
                               ? std::string(runtime) + "/orvane-web-question"
                               : Sites::userDirectory() + "/question";
  const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (file < 0) {
    throw std::runtime_error(path + " cannot be opened");
  }
  return file;
}

}  // namespace

SiteLeave::SiteLeave(const Hello& hello, Desktop* desktop,
                     std::function<void(const std::string&)> say)
    : _isPrivate(hello.isPrivate), _desktop(desktop), _say(std::move(say)) {
  try {
    _origin = normalOrigin(hello.origin);
  } catch (const OriginError& error) {
    _originComplaint = error.what();
  }
}

void SiteLeave::decide(std::function<void()> done) {
  _done = std::move(done);
  if (!possible()) {
    finish(State::kDenied, std::string(kRefused) + ": " + _originComplaint + ".");
  } else if (!readSites()) {
    if (_desktop->open()) {
      waitForTurn();
    } else {
      deny("Nobody could be asked whether this site may use Orvane Web: there is no display.");
    }
  }
}

std::optional<Sites::Entry> SiteLeave::entry() {
  if (!possible()) {
    return std::nullopt;
  }
  Sites sites;
  const std::optional<Sites::Entry> found = sites.find(_origin);
  for (const std::string& complaint : sites.complaints()) {
    _say(complaint);
  }
  return found;
}

// False when they do not say.
bool SiteLeave::readSites() {
  const std::optional<Sites::Entry> entry = this->entry();
  if (!entry.has_value()) {
    return false;
  }
  _kept = entry->leave;
  if (entry->leave == Leave::kAllow) {
    finish(State::kAllowed);
  } else if (entry->file.empty()) {
    deny(std::string(kRefused) + ".");
  } else {
    finish(State::kDenied, std::string(kRefused) + (entry->unreadable ? kUnreadable : kByOthers));
  }
  return true;
}

void SiteLeave::deny(const std::string& reason) {
  finish(State::kDenied, reason + howToAllow(_origin));
}

void SiteLeave::finish(State state, const std::string& refusal) {
  _state = state;
  _refusal = refusal;
  _turn.reset();
  const auto done = std::move(_done);
  done();
}

void SiteLeave::waitForTurn() {
  try {
    if (_turn.get() < 0) {
      _turn.reset(openTurn());
    }
  } catch (const std::runtime_error& error) {
    _say(error.what());
    return ask();  // better two questions at a time than none
  }
  if (flock(_turn.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    MainLoop::postLater(kTurnMilliseconds, [this] { waitForTurn(); });
    return;
  }
  // Whoever had the turn may have asked for the same site.
  if (!readSites()) {
    ask();
  }
}

void SiteLeave::ask() {
  _dialog = std::make_unique<LeaveDialog>(_origin, !_isPrivate,
                                          [this](LeaveDialog::Answer answer) { answered(answer); });
}

void SiteLeave::answered(LeaveDialog::Answer answer) {
  switch (answer) {
    case LeaveDialog::Answer::kAlways:
      keep(Leave::kAllow);
      return finish(State::kAllowed);
    case LeaveDialog::Answer::kThisTime:
      return finish(State::kAllowed);
    case LeaveDialog::Answer::kNever:
      keep(Leave::kDeny);
      return deny(std::string(kRefused) + ".");
    case LeaveDialog::Answer::kClosed:
      return deny(std::string(kRefused) + ".");
  }
}

void SiteLeave::keep(Leave leave) {
  try {
    Sites::set(_origin, leave);
    _kept = leave;
  } catch (const std::runtime_error& error) {
    _say(std::string("the answer could not be kept: ") + error.what());
  }
}

}  // namespace web_host
