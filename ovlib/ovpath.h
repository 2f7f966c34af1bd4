#ifndef OVLIB_OVPATH_H_
#define OVLIB_OVPATH_H_

#include <cstddef>

constexpr size_t OV_PATH_MAX = 8192;  // Bytes of every path buffer, terminator included.

// True when the path's status can be read.
bool ov_path_exists(const char* path);

// True for an empty path and for one that starts neither with a slash of either kind nor with a
// drive letter; leading blanks are skipped.
bool ov_path_is_relative(const char* path);

// True when the path is a transfer-protocol URI ("ovtp://").
bool ov_path_is_transfer_uri(const char* path);

// True when, after leading blanks, a letter is followed by ':'.
bool ov_path_has_windows_drive_letter(const char* path);

// True for "//server/...".
bool ov_path_is_unc_path(const char* path);

// Where server and share of a UNC path begin and end (bytes from the start of the path). 0, or -1
// when either is missing.
struct ov_path_unc_range {
  size_t server, server_end, share, share_end;
};
int ov_path_unc_parts(const char* path, ov_path_unc_range* parts);

// The next '/' or '\\' at or after `path`; null when there is none.
const char* ov_path_next_dirsep(const char* path);

// Turns backslashes into '/' in place.
void ov_path_convert_path_to_forward_slashes(char* path);

// Copies the path's root ("//server/share/", "c:/", "/" or nothing) to `prefix` (`size` bytes) and
// points `*rest` behind it and any further slashes. 0, or -1 when it fails.
int ov_path_extract_prefix(const char* path, char* prefix, size_t size, const char** rest);

// The path with '/' only, single slashes, without "." and with ".." resolved. An absolute path
// never climbs above its root. An empty or null path gives an empty output. 0, or -1 for a path
// with a newline, one that does not fit, or a UNC path without a share. A transfer-protocol URI is
// copied byte for byte. `output` may be `path`.
int ov_path_canonical_path(const char* path, char* output, size_t size);

// Joins a directory and a name with one '/' and makes the result canonical. OV_OK (also for a
// `size` of 0), OV_EBUFFER when the join was cut to `size`, -1 when it has no canonical form.
int ov_path_append(const char* directory, const char* name, char* output, size_t size);

// The first existing "directory/name" of the null-terminated list. 0, or -1 when there is none, the
// name or the list is empty, or it does not fit.
int ov_path_find_file_in_paths(const char* name, const char* const* directories, char* output,
                               size_t size);

// The canonical form of the environment's HOME. Its length in bytes, or -1 when HOME is missing or
// an argument is bad.
int ov_path_home_dir(char* output, size_t size);

#endif  // OVLIB_OVPATH_H_
