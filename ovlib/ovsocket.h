#ifndef OVLIB_OVSOCKET_H_
#define OVLIB_OVSOCKET_H_

// Socket layer set-up and clean-up; nothing to do on Linux. Always OV_OK.
int ov_sock_init();
int ov_sock_fini();

// Closes a socket descriptor. OV_OK or the errno of the failed call.
int ov_sock_close(int sock);

#endif  // OVLIB_OVSOCKET_H_
