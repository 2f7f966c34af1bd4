#ifndef TOOLS_WEB_HOST_REPLY_H_
#define TOOLS_WEB_HOST_REPLY_H_

#include <cstdint>
#include <string>

#include "npapi/npruntime.h"
#include "tools/web_host/SiteList.h"

namespace web_host {

// The messages to the browser, as JSON.

std::string helloReply();
// The operation is done, without a value.
std::string doneAnswer(uint64_t number);
// Objects of the module itself are undefined for the page.
std::string valueAnswer(uint64_t number, const NPVariant& value);
// The module refused; the page throws the text.
std::string refusedAnswer(uint64_t number, const std::string& text);
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
std::string fatalReply(const std::string& text);

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_REPLY_H_
