#include "tools/web_host/FrameReader.h"

#include <glib-unix.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace web_host {

FrameReader::FrameReader(int input, Events events) : _input(input), _events(std::move(events)) {
  _source = g_unix_fd_source_new(_input, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR));
  const GUnixFDSourceFunc readable = [](gint, GIOCondition, gpointer reader) -> gboolean {
    return static_cast<FrameReader*>(reader)->read() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
  };
  g_source_set_callback(_source, G_SOURCE_FUNC(readable), this, nullptr);
  g_source_set_can_recurse(_source, TRUE);
  g_source_attach(_source, nullptr);
}

FrameReader::~FrameReader() {
  g_source_destroy(_source);
  g_source_unref(_source);
}

// False at the end.
bool FrameReader::read() {
  const ssize_t size = ::read(_input, _buffer.data(), _buffer.size());
  if (size < 0 && (errno == EINTR || errno == EAGAIN)) {
    return true;
  }
  if (size > 0) {
    _parser.add(_buffer.data(), static_cast<size_t>(size));
    parse();
  } else {
    _isOver = true;
  }
  giveOut();
  return !_isOver;
}

void FrameReader::parse() {
  try {
    for (std::string frame; _parser.next(&frame);) {
      _frames.push_back(std::move(frame));
    }
  } catch (const FrameError& error) {
    _reason = error.what();
    _isOver = true;
  }
}

void FrameReader::giveOut() {
  while (!_frames.empty()) {
    const std::string frame = std::move(_frames.front());
    _frames.pop_front();
    _events.arrived(frame);
  }
  if (_isOver) {
    _events.ended(_reason);
  }
}

}  // namespace web_host
