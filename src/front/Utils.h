#ifndef KELVARUNE_FRONT_UTILS_H
#define KELVARUNE_FRONT_UTILS_H

#include <string>

/// Joins a directory and a file name: "/".
extern const std::string FILE_SEPARATOR;

/// The file name of `path` without its directory and its extension.
///
/// Both "/" and a backslash separate directories. The extension starts at the last "." of the file
/// name; a dot in a directory name does not count, and a file name that starts with its only dot
/// gives the empty text ("dir/.pos"). Pure; any thread.
std::string baseNameOfPath(const std::string &path);

#endif
