// Opening files and saying why it failed, in the one form that all file messages of the resource
// layer have: the message, a blank, and the system's reason on the same line.

#include "resource/s_fopen.h"

#include <cerrno>

std::FILE *s_fopen(const char *path, const char *mode) {
  std::FILE *stream = std::fopen(path, mode);
  if (!stream)
    report_system_error("Can not open file: ", path);
  return stream;
}

void report_system_error(const char *message, const char *name, const char *other) {
  const int reason = errno; // Writing the message may change it.
  std::fprintf(stderr, "%s%s%s%s ", message, name, other ? " in " : "", other ? other : "");
  errno = reason;
  std::perror("because");
}
