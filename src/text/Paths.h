#ifndef KELVARUNE_TEXT_PATHS_H
#define KELVARUNE_TEXT_PATHS_H

#include <string>

/// The file name of `path` without its directory and its extension.
///
/// Both "/" and a backslash separate directories. The extension starts at the last "." of the file
/// name; a dot in a directory name does not count, and a file name that starts with its only dot
/// gives the empty text ("dir/.pos"). Works on bytes, so that a path that is not valid UTF-8 passes
/// through unchanged. Pure; any thread.
inline std::string baseNameOfPath(const std::string &path) {
  const auto separator = path.find_last_of("/\\");
  const auto begin = separator == std::string::npos ? 0 : separator + 1;
  const auto dot = path.find_last_of('.');
  if (dot == std::string::npos || dot < begin)
    return path.substr(begin);
  return path.substr(begin, dot - begin);
}

#endif
