#include "tools/web_host/WebHost.h"

#include <unistd.h>

#include <cstdio>
#include <optional>
#include <utility>

#include "tools/json/JsonDocument.h"
#include "tools/json/JsonError.h"
#include "tools/web_host/Reply.h"

namespace web_host {

using npapi_host::MainLoop;

WebHost::WebHost(const Channel& channel) : _channel(channel), _writer(channel.output) {}

WebHost::~WebHost() = default;

int WebHost::run() {
  FrameReader::Events events;
  events.arrived = [this] { MainLoop::post([this] { takeFrame(); }); };
  events.ended = [this](const std::string& reason) {
    _deadline.start();
    MainLoop::post([this, reason] { reason.empty() ? end(0) : giveUp(reason); });
  };
  _reader = std::make_unique<FrameReader>(_channel.input, std::move(events));
  _loop.run();
  _tornDown = true;
  _reader.reset();
  _leave.reset();
  _elements.reset();
  _page.reset();
  _writer.finish();
  return _code;
}

void WebHost::takeFrame() {
  std::string frame;
  if (!_ended && _reader->take(&frame)) {
    handle(frame);
  }
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
    _order.add(readOperation(document.root()), frame.size());
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
  _page = std::make_unique<RemotePage>(hello, send);
  _elements = std::make_unique<Elements>(_page.get());
  _leave = std::make_unique<SiteLeave>(hello.origin, hello.isPrivate,
                                       [send](const std::string& text) { send(sayTell(text)); });
  _writer.write(helloReply());
}

void WebHost::performInOrder() {
  while (!_asking && !_ended) {
    const std::optional<Operation> operation = _order.next();
    if (!operation.has_value()) {
      return;
    }
    perform(*operation);
  }
}

void WebHost::perform(const Operation& operation) {
  switch (operation.kind) {
    case Operation::Kind::kMake:
      return make(operation);
    case Operation::Kind::kCall:
      return _writer.write(_elements->call(operation));
    case Operation::Kind::kGet:
      return _writer.write(_elements->get(operation));
    case Operation::Kind::kSet:
      return _writer.write(_elements->set(operation));
    case Operation::Kind::kEnd:
      return _writer.write(_elements->end(operation));
    case Operation::Kind::kSkip:
      return _writer.write(doneAnswer(operation.number));
    case Operation::Kind::kWrong:
      return _writer.write(errorAnswer(operation.number, "Orvane Web: " + operation.complaint));
  }
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
