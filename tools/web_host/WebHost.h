#ifndef TOOLS_WEB_HOST_WEB_HOST_H_
#define TOOLS_WEB_HOST_WEB_HOST_H_

#include <deque>
#include <map>
#include <memory>
#include <string>

#include "tools/json/JsonValue.h"
#include "tools/npapi_host/MainLoop.h"
#include "tools/web_host/Areas.h"
#include "tools/web_host/Deadline.h"
#include "tools/web_host/Descriptors.h"
#include "tools/web_host/Desktop.h"
#include "tools/web_host/Drops.h"
#include "tools/web_host/Elements.h"
#include "tools/web_host/FrameWriter.h"
#include "tools/web_host/OperationOrder.h"
#include "tools/web_host/RemotePage.h"
#include "tools/web_host/Reply.h"
#include "tools/web_host/SiteLeave.h"

namespace web_host {

// The browser's end of one document: from its first message to the end of its input. Main thread
// only.
class WebHost {
 public:
  explicit WebHost(const Channel& channel);
  ~WebHost();
  WebHost(const WebHost&) = delete;
  WebHost& operator=(const WebHost&) = delete;

  // Answers the process's exit code: 0 after the browser closed the input, 1 when something was so
  // wrong that nothing could go on. A process that cannot end in order ends without, see Deadline.
  int run();

 private:
  void handle(const std::string& frame);
  void greet(const json::JsonValue& message);
  void performInOrder();
  void holdInOrder();
  void refuse(const Operation& operation);
  void perform(const Operation& operation);
  void make(const Operation& operation);
  void call(const Operation& operation);
  void tellState(const Operation& operation);
  HostState state();
  void forget(const Operation& operation);
  void performOnArea(const Operation& operation);
  void openWindow(const Operation& operation, npapi_host::Owner area);
  void giveUp(const std::string& reason);
  void end(int code);
  void endNested();

  const Channel _channel;
  Deadline _deadline;
  npapi_host::MainLoop _loop;
  FrameWriter _writer;
  OperationOrder _order;
  Desktop _desktop;
  std::unique_ptr<RemotePage> _page;  // null before the browser's first message
  std::unique_ptr<Areas> _areas;
  std::unique_ptr<Elements> _elements;
  std::unique_ptr<Drops> _drops;
  std::map<npapi_host::Owner, uint64_t> _windows;  // which elements the drop windows are of
  std::unique_ptr<SiteLeave> _leave;
  std::string _origin;  // as the browser writes it
  std::string _browser;
  bool _isPage = true;
  bool _asking = false;         // operations are held
  std::deque<Operation> _held;  // in order
  size_t _heldBytes = 0;
  bool _ended = false;
  bool _tornDown = false;
  int _code = 0;
};

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_WEB_HOST_H_
