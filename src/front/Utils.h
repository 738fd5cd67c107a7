#ifndef KELVARUNE_FRONT_UTILS_H
#define KELVARUNE_FRONT_UTILS_H

#include "text/Paths.h" // baseNameOfPath, which folders below this one use as well

#include <string>

/// Joins a directory and a file name: "/". Any thread, from main on.
extern const std::string FILE_SEPARATOR;

#endif
