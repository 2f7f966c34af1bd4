#ifndef TOOLS_WEB_HOST_REPLY_H_
#define TOOLS_WEB_HOST_REPLY_H_

#include <cstdint>
#include <optional>
#include <string>

#include "npapi/npruntime.h"
#include "tools/web_host/Picture.h"
#include "tools/web_host/SiteList.h"

namespace web_host {

// The messages to the browser, as JSON.

std::string helloReply();
// What the toolbar's button shows.
struct HostState {
  std::string origin;
  std::string leave;  // "allow", "deny", "ask" or "never"
  std::string file;   // the administrator's that says so
  bool kept = false;  // somebody has said so
  std::optional<bool> allowedNow;
  std::string module;  // its path
  std::string moduleError;
  bool moduleLoaded = false;
  size_t elements = 0;
  std::string check;  // JSON; empty when it was not asked for
};
// The operation is done, without a value.
std::string doneAnswer(uint64_t number);
// Objects of the module itself are undefined for the page.
std::string valueAnswer(uint64_t number, const NPVariant& value);
// The module refused; the page throws the text.
std::string refusedAnswer(uint64_t number, const std::string& text);
std::string countAnswer(uint64_t number, size_t count);
std::string truthAnswer(uint64_t number, bool truth);
std::string stateAnswer(uint64_t number, const HostState& state);
// The operation was not done.
std::string errorAnswer(uint64_t number, const std::string& text);

// A call of a page's object, or of its method when `method` is not null.
struct CallTell {
  uint64_t element;
  uint64_t object;
  const std::string* method;
  const NPVariant* args;
  uint32_t argCount;
};
std::string callTell(const CallTell& call);
std::string releaseTell(uint64_t object, uint64_t mentions);
std::string sayTell(const std::string& text);
std::string leaveTell(const std::string& origin, Leave leave);
std::string pictureTell(uint64_t element, const Picture& picture);
std::string windowTell(uint64_t element, bool open);
std::string fatalReply(const std::string& text);

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_REPLY_H_
