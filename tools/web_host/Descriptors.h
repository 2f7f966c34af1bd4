#ifndef TOOLS_WEB_HOST_DESCRIPTORS_H_
#define TOOLS_WEB_HOST_DESCRIPTORS_H_

namespace web_host {

// The browser's ends of the two message pipes.
struct Channel {
  int input;
  int output;
};

// Moves standard input and output to other descriptors, which no launched program inherits, and
// puts /dev/null in their place: what the module, GTK or a launched program prints or reads never
// touches the messages. Standard error goes the same way when it is a pipe, since a launched
// program outlives the reader of it. To be called before anything else opens a descriptor. Throws a
// runtime error.
Channel takeChannel();

}  // namespace web_host

#endif  // TOOLS_WEB_HOST_DESCRIPTORS_H_
