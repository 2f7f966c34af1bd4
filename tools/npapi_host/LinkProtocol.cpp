#include "tools/npapi_host/LinkProtocol.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

namespace npapi_host {
namespace {

constexpr int kRoomMilliseconds = 10000;

void appendEscaped(const std::string& field, std::string* line) {
  for (const char letter : field) {
    switch (letter) {
      case '\n':
        *line += "\\n";
        break;
      case '\t':
        *line += "\\t";
        break;
      case '\\':
        *line += "\\\\";
        break;
      default:
        line->push_back(letter);
    }
  }
}

Fields split(const std::string& line) {
  Fields fields(1);
  for (size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '\t') {
      fields.emplace_back();
    } else if (line[i] == '\\' && i + 1 < line.size()) {
      const char letter = line[++i];
      fields.back().push_back(letter == 'n' ? '\n' : letter == 't' ? '\t' : letter);
    } else {
      fields.back().push_back(line[i]);
    }
  }
  return fields;
}

bool waitFor(int descriptor, short events, int milliseconds) {
  pollfd entry = {descriptor, events, 0};
  int count;
  do {
    count = poll(&entry, 1, milliseconds);
  } while (count < 0 && errno == EINTR);
  return count > 0;
}

}  // namespace

LinkEnd::LinkEnd(int descriptor) : _descriptor(descriptor) {
  fcntl(_descriptor, F_SETFL, fcntl(_descriptor, F_GETFL) | O_NONBLOCK);
}

LinkEnd::~LinkEnd() {
  close(_descriptor);
}

bool LinkEnd::send(const Fields& fields) {
  std::string line;
  for (const std::string& field : fields) {
    line += line.empty() ? "" : "\t";
    appendEscaped(field, &line);
  }
  line += '\n';
  for (size_t sent = 0; sent < line.size();) {
    const ssize_t count = ::send(_descriptor, line.data() + sent, line.size() - sent, MSG_NOSIGNAL);
    if (count >= 0) {
      sent += static_cast<size_t>(count);
    } else if (errno == EAGAIN) {
      if (!waitFor(_descriptor, POLLOUT, kRoomMilliseconds)) {
        errno = ETIMEDOUT;
        return false;
      }
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

bool LinkEnd::next(Fields* fields) {
  const size_t end = _unread.find('\n');
  if (end == std::string::npos) {
    return false;
  }
  *fields = split(_unread.substr(0, end));
  _unread.erase(0, end + 1);
  return true;
}

bool LinkEnd::fill() {
  char buffer[4096];
  for (;;) {
    const ssize_t count = read(_descriptor, buffer, sizeof(buffer));
    if (count > 0) {
      _unread.append(buffer, static_cast<size_t>(count));
    } else if (count < 0 && errno == EAGAIN) {
      return true;
    } else if (count == 0 || errno != EINTR) {
      return false;
    }
  }
}

bool LinkEnd::waitReadable(int milliseconds) const {
  return waitFor(_descriptor, POLLIN, milliseconds);
}

}  // namespace npapi_host
