#ifndef TOOLS_WEB_HOST_DROPS_H_
#define TOOLS_WEB_HOST_DROPS_H_

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "tools/web_host/Areas.h"
#include "tools/web_host/DragQuestion.h"
#include "tools/web_host/DroppedFiles.h"
#include "tools/web_host/Message.h"

namespace web_host {

// The user's drags over the page's elements. A page learns no paths, and names none: while a drag
// is over an element its source is asked for them, and at the drop they go to the module's own area
// if they are what the browser says was dropped. Main thread only.
class Drops {
 public:
  // `desktop` and `areas` are borrowed and outlive this; `send` takes the operations' answers, some
  // of which come later.
  Drops(Desktop* desktop, Areas* areas, std::function<void(const std::string&)> send);
  Drops(const Drops&) = delete;
  Drops& operator=(const Drops&) = delete;

  // The drag has come over the element, has left it, has ended in a drop there.
  void drag(const Operation& operation);
  void dragEnd(const Operation& operation);
  void drop(const Operation& operation, npapi_host::Owner area);
  // The element has ended.
  void forget(uint64_t element);

 private:
  struct Drag {
    std::unique_ptr<DragQuestion> question;  // until it is answered
    uint64_t number;                         // of the operation that waits for the answer
    DroppedFiles files;
    std::function<void(const DroppedFiles&)> drop;  // waits for the answer as well
  };

  void answered(uint64_t element, const std::string& uris);
  void handOver(const Operation& operation, npapi_host::Owner area, const DroppedFiles& files);

  Desktop* const _desktop;
  Areas* const _areas;
  const std::function<void(const std::string&)> _send;
  std::map<uint64_t, Drag> _drags;  // by their elements
};

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_DROPS_H_
