#include "ovlib/ovsocket.h"

#include <unistd.h>

#include "ovlib/overrno.h"

int ov_sock_init() {
  return OV_OK;
}

int ov_sock_fini() {
  return OV_OK;
}

int ov_sock_close(int sock) {
  return ov_errno_result(close(sock));
}
