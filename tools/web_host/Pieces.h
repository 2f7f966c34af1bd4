#ifndef TOOLS_WEB_HOST_PIECES_H_
#define TOOLS_WEB_HOST_PIECES_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace web_host {

// Browsers end a host that sends them a frame above 1 MiB.
static constexpr size_t kLargestMessage = 900'000;

// The texts of the frames that carry a message of JSON: itself, or pieces of its long strings and
// then the rest of it, none larger than kLargestMessage. The strings are numbered on from `lastId`.
std::vector<std::string> piecesOf(const std::string& message, uint64_t* lastId);

// One message that holds several, for browsers whose end takes that.
std::string togetherOf(const std::vector<std::string>& messages);

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_PIECES_H_
