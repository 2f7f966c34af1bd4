#ifndef TOOLS_NPAPI_HOST_LINK_PROTOCOL_H_
#define TOOLS_NPAPI_HOST_LINK_PROTOCOL_H_

#include <string>
#include <vector>

namespace npapi_host {

// What the page's process and the window's process say to each other over a socket pair: lines of
// fields with tabs between them. Page to window:
//   title TEXT | status TEXT | area ID WIDTH HEIGHT | remove ID | what the program's own window
//   understands besides
// Window to page:
//   window XID (once, first) | area ID XID | closed (the user closed it; the page shall end) |
//   destroyed (another program took the X window away; the last word) | what the program itself
//   understands besides
// When one side's end closes, the other side ends as well.
using Fields = std::vector<std::string>;

// One end of the pair, non-blocking. Takes ownership of the descriptor.
class LinkEnd {
 public:
  explicit LinkEnd(int descriptor);
  ~LinkEnd();
  LinkEnd(const LinkEnd&) = delete;
  LinkEnd& operator=(const LinkEnd&) = delete;

  int descriptor() const { return _descriptor; }
  // Waits for room, some seconds at most. False with ETIMEDOUT when the peer reads nothing, with
  // another error number when it has gone.
  bool send(const Fields& fields);
  // The next line that has arrived. False when there is none yet.
  bool next(Fields* fields);
  // Reads what lies ready; false when the peer has gone.
  bool fill();
  // Blocks until something arrives, at most so long; false when that time is over.
  bool waitReadable(int milliseconds) const;

 private:
  int _descriptor;
  std::string _unread;
};

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_LINK_PROTOCOL_H_
