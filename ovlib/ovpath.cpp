#include "ovlib/ovpath.h"

#include <cctype>
#include <cstring>

#include "ovlib/overrno.h"
#include "ovlib/ovfile.h"
#include "ovlib/ovprocess.h"
#include "ovlib/ovstring.h"

namespace {

constexpr char kTransferScheme[] = "ovtp://";
constexpr int kFailed = -1;

const char* skipBlanks(const char* path) {
  return path + strspn(path, " \t");
}

const char* skipSlashes(const char* path) {
  return path + strspn(path, "/");
}

bool isSegment(const char* segment, size_t length, const char* text) {
  return length == strlen(text) && memcmp(segment, text, length) == 0;
}

bool appendBytes(char* output, size_t size, size_t* length, const char* bytes, size_t count) {
  if (count >= size - *length) {
    return false;
  }
  memcpy(output + *length, bytes, count);
  *length += count;
  output[*length] = '\0';
  return true;
}

// The path under construction: a root that stays, and the segments behind it.
class SegmentStack {
 public:
  // Borrows the output buffer. `root` bytes are in it already.
  SegmentStack(char* output, size_t size, size_t root)
      : _output(output), _size(size), _root(root), _length(root) {}

  // False when it does not fit.
  bool add(const char* segment, size_t count) {
    if (isSegment(segment, count, ".")) {
      return true;
    }
    if (isSegment(segment, count, "..") && (removeLast() || _root > 0)) {
      return true;
    }
    return (_length == _root || appendBytes(_output, _size, &_length, "/", 1)) &&
           appendBytes(_output, _size, &_length, segment, count);
  }

 private:
  // False when there is no segment to remove; a ".." that was kept is none.
  bool removeLast() {
    size_t start = _length;
    while (start > _root && _output[start - 1] != '/') {
      --start;
    }
    if (start == _length || isSegment(_output + start, _length - start, "..")) {
      return false;
    }
    _length = start > _root ? start - 1 : _root;
    _output[_length] = '\0';
    return true;
  }

  char* _output;
  size_t _size;
  size_t _root;
  size_t _length;
};

int copyUncPrefix(const char* path, char* prefix, size_t size, const char** rest) {
  ov_path_unc_range parts;
  if (ov_path_unc_parts(path, &parts) != 0) {
    return kFailed;
  }
  size_t length = 0;
  *rest = path + parts.share_end;
  const bool fits =
      appendBytes(prefix, size, &length, path, parts.server_end) &&
      appendBytes(prefix, size, &length, "/", 1) &&
      appendBytes(prefix, size, &length, path + parts.share, parts.share_end - parts.share) &&
      appendBytes(prefix, size, &length, "/", 1);
  return fits ? 0 : kFailed;
}

int copyDrivePrefix(const char* path, char* prefix, size_t size, const char** rest) {
  const char* letter = skipBlanks(path);
  const char text[] = {*letter, ':', '/', '\0'};
  *rest = letter + 2;
  return ov_str_ncpy(prefix, text, size) == OV_OK ? 0 : kFailed;
}

}  // namespace

bool ov_path_exists(const char* path) {
  ov_file_status status;
  return ov_file_stat(path, &status) == OV_OK;
}

bool ov_path_is_relative(const char* path) {
  if (path == nullptr) {
    return true;
  }
  const char first = *skipBlanks(path);
  return first != '/' && first != '\\' && !ov_path_has_windows_drive_letter(path);
}

bool ov_path_is_transfer_uri(const char* path) {
  return path != nullptr && strncmp(path, kTransferScheme, sizeof(kTransferScheme) - 1) == 0;
}

bool ov_path_has_windows_drive_letter(const char* path) {
  if (path == nullptr) {
    return false;
  }
  const char* letter = skipBlanks(path);
  return isalpha(static_cast<unsigned char>(*letter)) != 0 && letter[1] == ':';
}

// Deliberate: two slashes in front never collapse, so "//home/u" is the share "u" of a server
// "home".
bool ov_path_is_unc_path(const char* path) {
  return path != nullptr && strncmp(path, "//", 2) == 0 && path[2] != '\0' && path[2] != '/' &&
         strchr(path + 3, '/') != nullptr;
}

int ov_path_unc_parts(const char* path, ov_path_unc_range* parts) {
  if (parts == nullptr || !ov_path_is_unc_path(path)) {
    return kFailed;
  }
  parts->server = 2;
  parts->server_end = parts->server + strcspn(path + parts->server, "/");
  parts->share = parts->server_end + 1;
  parts->share_end = parts->share + strcspn(path + parts->share, "/");
  return parts->share_end > parts->share ? 0 : kFailed;
}

const char* ov_path_next_dirsep(const char* path) {
  return path != nullptr ? strpbrk(path, "/\\") : nullptr;
}

void ov_path_convert_path_to_forward_slashes(char* path) {
  for (; path != nullptr && *path != '\0'; ++path) {
    if (*path == '\\') {
      *path = '/';
    }
  }
}

int ov_path_extract_prefix(const char* path, char* prefix, size_t size, const char** rest) {
  if (path == nullptr || prefix == nullptr || size == 0 || rest == nullptr) {
    return kFailed;
  }
  int result;
  *prefix = '\0';
  *rest = path;
  if (ov_path_is_unc_path(path)) {
    result = copyUncPrefix(path, prefix, size, rest);
  } else if (ov_path_has_windows_drive_letter(path)) {
    result = copyDrivePrefix(path, prefix, size, rest);
  } else {
    result = ov_str_ncpy(prefix, *path == '/' ? "/" : "", size) == OV_OK ? 0 : kFailed;
  }
  if (*prefix != '\0') {
    *rest = skipSlashes(*rest);
  }
  return result;
}

int ov_path_canonical_path(const char* path, char* output, size_t size) {
  if (output == nullptr || size == 0) {
    return kFailed;
  }
  char whole[OV_PATH_MAX];
  // The copy lets `output` be `path`.
  const int copied = ov_str_ncpy(whole, path != nullptr ? path : "", sizeof(whole));
  *output = '\0';
  if (copied != OV_OK || strchr(whole, '\n') != nullptr) {
    return kFailed;
  }
  if (ov_path_is_transfer_uri(whole)) {
    return ov_str_ncpy(output, whole, size) == OV_OK ? 0 : kFailed;
  }
  ov_path_convert_path_to_forward_slashes(whole);
  const char* rest = nullptr;
  if (ov_path_extract_prefix(whole, output, size, &rest) != 0) {
    *output = '\0';
    return kFailed;
  }
  SegmentStack segments(output, size, strlen(output));
  for (rest = skipSlashes(rest); *rest != '\0'; rest = skipSlashes(rest)) {
    const size_t count = strcspn(rest, "/");
    if (!segments.add(rest, count)) {
      *output = '\0';
      return kFailed;
    }
    rest += count;
  }
  return 0;
}

int ov_path_append(const char* directory, const char* name, char* output, size_t size) {
  if (size == 0) {
    return OV_OK;
  }
  const char* const base = directory != nullptr ? directory : "";
  const char* tail = name != nullptr ? name : "";
  const bool relative = ov_path_is_relative(tail);
  if (*base == '\0' || (strcmp(base, ".") == 0 && relative) ||
      (strcmp(base, "/") == 0 && !relative)) {
    return ov_path_canonical_path(tail, output, size);
  }
  char joined[OV_PATH_MAX];
  const size_t room = size < sizeof(joined) ? size : sizeof(joined);
  size_t length = 0;
  int cut = ov_str_to(joined, base, room, &length);
  if (cut == OV_OK && base[strlen(base) - 1] != '/') {
    cut = ov_str_to(joined, "/", room, &length);
  }
  if (cut == OV_OK) {
    cut = ov_str_to(joined, skipSlashes(tail), room, &length);
  }
  const int result = ov_path_canonical_path(joined, output, size);
  return result != 0 ? result : cut;
}

int ov_path_find_file_in_paths(const char* name, const char* const* directories, char* output,
                               size_t size) {
  if (name == nullptr || *name == '\0' || directories == nullptr || output == nullptr ||
      size == 0) {
    return kFailed;
  }
  for (; *directories != nullptr; ++directories) {
    size_t length = 0;
    if (ov_str_to(output, *directories, size, &length) != OV_OK ||
        ov_str_to(output, "/", size, &length) != OV_OK ||
        ov_str_to(output, name, size, &length) != OV_OK) {
      break;
    }
    if (ov_path_exists(output)) {
      return 0;
    }
  }
  *output = '\0';
  return kFailed;
}

int ov_path_home_dir(char* output, size_t size) {
  char home[OV_PATH_MAX];
  if (ov_process_getenv("HOME", home, sizeof(home)) != OV_OK ||
      ov_path_canonical_path(home, output, size) != 0) {
    return kFailed;
  }
  return static_cast<int>(strlen(output));
}
