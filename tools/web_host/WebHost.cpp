#include "tools/web_host/WebHost.h"

#include <unistd.h>

#include <cstdio>
#include <optional>
#include <stdexcept>
#include <utility>

#include "tools/json/JsonDocument.h"
#include "tools/json/JsonError.h"
#include "tools/web_host/ApplicationCheck.h"
#include "tools/web_host/FrameReader.h"
#include "tools/web_host/InputEnd.h"
#include "tools/web_host/Reply.h"

namespace web_host {

using npapi_host::MainLoop;

// How long what a page does not wait for may wait for company: word that an object is no more held,
// and that a request is queued, which its callback mostly follows at once.
static constexpr std::chrono::milliseconds kReleaseSoon(100);
static constexpr std::chrono::milliseconds kQueuedSoon(5);

WebHost::WebHost(const Channel& channel) : _channel(channel), _writer(channel.output) {}

WebHost::~WebHost() = default;

int WebHost::run() {
  FrameReader::Events events;
  events.arrived = [this](const std::string& frame) {
    if (!_ended) {
      handle(frame);
    }
  };
  events.ended = [this](const std::string& reason) { reason.empty() ? end(0) : giveUp(reason); };
  const FrameReader reader(_channel.input, std::move(events));
  const InputEnd inputEnd(_channel.input, [this] { _deadline.start(); });
  _loop.run();
  _tornDown = true;
  _leave.reset();
  _elements.reset();
  _areas.reset();
  _drops.reset();  // drops that the areas have not answered are its
  _page.reset();
  _writer.finish();
  return _code;
}

void WebHost::handle(const std::string& frame) {
  try {
    const json::JsonDocument document(frame);
    if (!document.root().is(json::JsonValue::Kind::kObject)) {
      throw MessageError("A message must be a JSON object.");
    }
    if (_page == nullptr) {
      return greet(document.root());
    }
    Operation operation = readOperation(document.root());
    operation.bytes = frame.size();
    _order.add(std::move(operation));
  } catch (const json::JsonError& error) {
    return giveUp(error.what());
  } catch (const MessageError& error) {
    return giveUp(error.what());
  }
  performInOrder();
}

void WebHost::greet(const json::JsonValue& message) {
  const Hello hello = readHello(message);
  const auto send = [this](const std::string& text) { _writer.write(text); };
  if (hello.together) {
    _writer.joinMessages();
  }
  _page = std::make_unique<RemotePage>(
      hello, send, [this](const std::string& text) { _writer.writeSoon(text, kReleaseSoon); });
  _areas = std::make_unique<Areas>(
      &_desktop, hello.origin + " - Orvane Web",
      [this, send](npapi_host::Owner area, bool open) { send(windowTell(_windows[area], open)); });
  _elements = std::make_unique<Elements>(_page.get(), _areas.get());
  _drops = std::make_unique<Drops>(&_desktop, _areas.get(), send);
  _leave = std::make_unique<SiteLeave>(hello, &_desktop,
                                       [send](const std::string& text) { send(sayTell(text)); });
  _origin = hello.origin;
  _browser = hello.browser;
  _isPage = hello.isPage;
  _writer.write(helloReply());
}

void WebHost::performInOrder() {
  while (!_ended) {
    holdInOrder();
    if (_asking || _held.empty()) {
      return;
    }
    const Operation operation = std::move(_held.front());
    _held.pop_front();
    _heldBytes -= operation.bytes;
    perform(operation);
  }
}

// While the user is asked, a page may go on calling for as long as it likes. The end of an element
// is held in any case: there are not more of them than elements.
void WebHost::holdInOrder() {
  while (std::optional<Operation> operation = _order.next()) {
    const bool full = _held.size() >= OperationOrder::kMostWaiting ||
                      _heldBytes + operation->bytes > OperationOrder::kMostBytes;
    if (_asking && full && operation->kind != Operation::Kind::kEnd) {
      refuse(*operation);
    } else {
      _heldBytes += operation->bytes;
      _held.push_back(std::move(*operation));
    }
  }
}

void WebHost::refuse(const Operation& operation) {
  const char kTooMany[] = "Orvane Web: Too many calls wait for the user's answer.";
  for (const Value& value : operation.values) {
    _page->drop(value);
  }
  _writer.write(operation.kind == Operation::Kind::kMake ? _elements->makeDead(operation, kTooMany)
                                                         : errorAnswer(operation.number, kTooMany));
}

// The extension's own port may ask for the state, which has paths in it, and forget a site; a
// page's may do all else.
static bool mayAsk(bool isPage, Operation::Kind kind) {
  switch (kind) {
    case Operation::Kind::kSkip:
    case Operation::Kind::kWrong:
      return true;
    case Operation::Kind::kState:
    case Operation::Kind::kForget:
      return !isPage;
    default:
      return isPage;
  }
}

void WebHost::perform(const Operation& operation) {
  if (!mayAsk(_isPage, operation.kind)) {
    return _writer.write(errorAnswer(operation.number, "Orvane Web: This cannot be asked here."));
  }
  switch (operation.kind) {
    case Operation::Kind::kMake:
      return make(operation);
    case Operation::Kind::kCall:
      return call(operation);
    case Operation::Kind::kGet:
      return _writer.write(_elements->get(operation));
    case Operation::Kind::kSet:
      return _writer.write(_elements->set(operation));
    case Operation::Kind::kEnd:
      _drops->forget(operation.element);
      return _writer.write(_elements->end(operation));
    case Operation::Kind::kSkip:
      return _writer.write(doneAnswer(operation.number));
    case Operation::Kind::kDrag:
    case Operation::Kind::kDragEnd:
    case Operation::Kind::kDrop:
    case Operation::Kind::kWindow:
      return performOnArea(operation);
    case Operation::Kind::kState:
      return tellState(operation);
    case Operation::Kind::kForget:
      return forget(operation);
    case Operation::Kind::kWrong:
      return _writer.write(errorAnswer(operation.number, "Orvane Web: " + operation.complaint));
  }
}

void WebHost::call(const Operation& operation) {
  const std::string kAsync = "Async";
  const std::string& name = operation.name;
  const bool callsBack = name.size() > kAsync.size() &&
                         name.compare(name.size() - kAsync.size(), kAsync.size(), kAsync) == 0;
  if (name.find("Dialog") != std::string::npos) {
    _desktop.open();  // without one there are no dialogs either
  }
  if (operation.later && !callsBack) {
    _writer.writeHeldNow();  // it may block for long, and the page does not
  }
  const std::string answer = _elements->call(operation);
  if (operation.later && callsBack) {
    _writer.writeSoon(answer, kQueuedSoon);
  } else {
    _writer.write(answer);
  }
}

void WebHost::performOnArea(const Operation& operation) {
  std::string error;
  const std::optional<npapi_host::Owner> area = _elements->areaOf(operation.element, &error);
  if (!area.has_value()) {
    return _writer.write(errorAnswer(operation.number, error));
  }
  switch (operation.kind) {
    case Operation::Kind::kDrag:
      return _drops->drag(operation);
    case Operation::Kind::kDragEnd:
      return _drops->dragEnd(operation);
    case Operation::Kind::kDrop:
      return _drops->drop(operation, *area);
    default:
      return openWindow(operation, *area);
  }
}

void WebHost::openWindow(const Operation& operation, npapi_host::Owner area) {
  _windows[area] = operation.element;
  _areas->open(area, [this, number = operation.number](bool open) {
    _writer.write(open ? doneAnswer(number)
                       : errorAnswer(number, "Orvane Web: The drop window could not be opened."));
  });
}

HostState WebHost::state() {
  HostState state;
  state.origin = _leave->possible() ? _leave->origin() : _origin;
  const std::optional<Sites::Entry> entry = _leave->entry();
  if (entry.has_value()) {
    state.leave = leaveWord(entry->leave);
    state.file = entry->file;
    state.kept = true;
  } else {
    state.leave = _leave->possible() ? "ask" : "never";
  }
  if (_leave->decided()) {
    state.allowedNow = _leave->allowed();
  }
  state.module = Elements::findModule(&state.moduleError);
  state.moduleLoaded = _elements->moduleLoaded();
  state.elements = _elements->alive();
  return state;
}

void WebHost::tellState(const Operation& operation) {
  const HostState now = state();
  if (!operation.check) {
    return _writer.write(stateAnswer(operation.number, now));
  }
  checkApplication(_browser, [this, now, number = operation.number](const std::string& json) {
    HostState checked = now;
    checked.check = json;
    _writer.write(stateAnswer(number, checked));
  });
}

// What an administrator says stays.
void WebHost::forget(const Operation& operation) {
  try {
    if (!_leave->possible()) {
      throw std::runtime_error("This site cannot be allowed, nor forgotten.");
    }
    Sites::set(_leave->origin(), std::nullopt);
  } catch (const std::runtime_error& error) {
    return _writer.write(errorAnswer(operation.number, std::string("Orvane Web: ") + error.what()));
  }
  const std::optional<Sites::Entry> entry = _leave->entry();
  if (entry.has_value()) {
    _writer.write(leaveTell(_leave->origin(), entry->leave));
  }
  _writer.write(doneAnswer(operation.number));
}

void WebHost::make(const Operation& operation) {
  if (!_leave->decided()) {
    _asking = true;
    _leave->decide([this, operation] {
      _asking = false;
      make(operation);
      MainLoop::post([this] { performInOrder(); });
    });
    return;
  }
  if (_leave->kept().has_value()) {
    _writer.write(leaveTell(_leave->origin(), *_leave->kept()));
  }
  _writer.write(_leave->allowed() ? _elements->make(operation)
                                  : _elements->makeDead(operation, _leave->refusal()));
}

void WebHost::giveUp(const std::string& reason) {
  if (!_ended) {
    std::fprintf(stderr, "orvane-web-host: %s\n", reason.c_str());
    _writer.write(fatalReply(reason));
    end(1);
  }
}

void WebHost::end(int code) {
  if (_ended) {
    return;
  }
  _ended = true;
  _code = code;
  _deadline.start();
  _loop.quit();
  // The host's own loop ends before it comes to this; a loop nested in it (a dialog's) does not.
  MainLoop::post([this] { endNested(); });
}

// What is below on the stack cannot be left any more: the instances end, the rest ends with the
// process.
void WebHost::endNested() {
  if (_tornDown) {
    return;
  }
  if (_elements != nullptr) {
    _elements->endAll();
  }
  _writer.finish();
  std::fflush(nullptr);
  _exit(_code);
}

}  // namespace web_host
