#include "tools/web_host/Drops.h"

#include <utility>

#include "tools/web_host/Reply.h"

namespace web_host {
namespace {

const char kOver[] = "Orvane Web: The drag is over.";
const char kNoPaths[] =
    "Orvane Web: The paths of this drag cannot be had: its source or the screen does not give "
    "them.";
const char kUnknown[] = "Orvane Web: It is not known what was dropped.";
const char kOthers[] = "Orvane Web: Other files were dropped than were dragged over the area.";
const char kNoArea[] = "Orvane Web: The module's area did not answer the drop.";

}  // namespace

Drops::Drops(Desktop* desktop, Areas* areas, std::function<void(const std::string&)> send)
    : _desktop(desktop), _areas(areas), _send(std::move(send)) {}

void Drops::drag(const Operation& operation) {
  const uint64_t element = operation.element;
  forget(element);
  auto question = std::make_unique<DragQuestion>(
      _desktop->browser().underPointer(),
      [this, element](const std::string& uris) { answered(element, uris); });
  _drags.emplace(element, Drag{std::move(question), operation.number, DroppedFiles(""), nullptr});
}

void Drops::answered(uint64_t element, const std::string& uris) {
  const auto found = _drags.find(element);
  Drag& drag = found->second;
  drag.question.reset();
  drag.files = DroppedFiles(uris);
  const size_t count = drag.files.count();
  _send(count > 0 ? countAnswer(drag.number, count) : errorAnswer(drag.number, kNoPaths));
  if (drag.drop || count == 0) {
    const Drag over = std::move(drag);
    _drags.erase(found);
    if (over.drop) {
      over.drop(over.files);
    }
  }
}

void Drops::dragEnd(const Operation& operation) {
  forget(operation.element);
  _send(doneAnswer(operation.number));
}

void Drops::forget(uint64_t element) {
  const auto found = _drags.find(element);
  if (found == _drags.end()) {
    return;
  }
  const Drag over = std::move(found->second);
  _drags.erase(found);
  if (over.question != nullptr) {
    _send(errorAnswer(over.number, kOver));
  }
  if (over.drop) {
    over.drop(DroppedFiles(""));
  }
}

void Drops::drop(const Operation& operation, npapi_host::Owner area) {
  const auto found = _drags.find(operation.element);
  if (found == _drags.end() || found->second.drop) {
    return _send(errorAnswer(operation.number, kUnknown));
  }
  if (found->second.question != nullptr) {
    found->second.drop = [this, operation, area](const DroppedFiles& files) {
      handOver(operation, area, files);
    };
    return;
  }
  const Drag over = std::move(found->second);
  _drags.erase(found);
  handOver(operation, area, over.files);
}

void Drops::handOver(const Operation& operation, npapi_host::Owner area,
                     const DroppedFiles& files) {
  const uint64_t number = operation.number;
  if (files.count() == 0) {
    return _send(errorAnswer(number, kUnknown));
  }
  if (!files.haveNames(operation.names)) {
    return _send(errorAnswer(number, kOthers));
  }
  _areas->drop(area, files.list(), [this, number](Areas::Dropped dropped) {
    _send(dropped == Areas::Dropped::kFailed
              ? errorAnswer(number, kNoArea)
              : truthAnswer(number, dropped == Areas::Dropped::kAccepted));
  });
}

}  // namespace web_host
