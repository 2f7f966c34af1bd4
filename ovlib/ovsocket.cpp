#include "ovlib/ovsocket.h"

#include <unistd.h>

#include <cerrno>

#include "ovlib/overrno.h"

int ov_sock_init() {
  return OV_OK;
}

int ov_sock_fini() {
  return OV_OK;
}

int ov_sock_close(int sock) {
  return close(sock) == 0 ? static_cast<int>(OV_OK) : errno;
}
