#ifndef OVLIB_OVERRNO_H_
#define OVLIB_OVERRNO_H_

#include <cerrno>

// Error numbers of the portability library. Every function of the library returns OV_OK or one of
// these; conditions of the system keep the Linux errno values, the library's own start at 28672.
enum e_overrno {
  OV_OK = 0,
  OV_EPERM = 1,
  OV_ENOENT = 2,
  OV_ENOPATH = 2,
  OV_ESRCH = 3,
  OV_EINTR = 4,
  OV_EIO = 5,
  OV_EBADF = 9,
  OV_EAGAIN = 11,
  OV_EWOULDBLOCK = 11,
  OV_ENOMEM = 12,
  OV_EACCES = 13,
  OV_ENOTREADY = 16,
  OV_EEXIST = 17,
  OV_ENOTDIR = 20,
  OV_EINVAL = 22,
  OV_ENFILE = 23,
  OV_EMFILE = 24,
  OV_ENOSPC = 28,
  OV_ERANGE = 34,
  OV_EPATHMAX = 36,
  OV_ENOTEMPTY = 39,
  OV_EMSGSIZE = 90,
  OV_ENOTSUP = 95,
  OV_EADDRINUSE = 98,
  OV_ECONNRESET = 104,
  OV_ENOBUFS = 105,
  OV_EISCONN = 106,
  OV_ENOTCONN = 107,
  OV_ETIMEDOUT = 110,
  OV_ECONNREFUSED = 111,
  OV_EINPROGRESS = 115,

  OV_EDOCROOT = 28672,
  OV_ETOKENIZER,
  OV_EBASENAME,
  OV_EPATHMATCH,
  OV_EILLUTFSTR,
  OV_EBUFFER,
  OV_EDIREND,
  OV_ELIBERR,
  OV_ELIBMODERR,
  OV_EUUID,
  OV_EXMLPARSER,
  OV_ELOCALE,
  OV_EMD5SUM,
  OV_EHASHSUM = OV_EMD5SUM,
  OV_ELOG,
  OV_EUNAME,
  OV_EUACPARSE,
  OV_ENOXFER,
  OV_EUNIMPL,
  OV_EINTERNAL1,
  OV_EEND,
  OV_ESTORAGEINACCESSIBLE,
  OV_EBADPATHNAME,
  OV_ELIBRARY_END  // One past the last of the library's own numbers.
};

// What a system call has come to that answers 0 for success, or sets errno.
inline int ov_errno_result(int call) {
  return call == 0 ? static_cast<int>(OV_OK) : errno;
}

// The text of one of the library's own numbers; null for any other number.
const char* ov_errno_library_text(int code);

#endif  // OVLIB_OVERRNO_H_
