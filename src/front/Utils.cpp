// General utilities, a leaf that every other folder may use. They work on byte strings, so that a
// path that is not valid UTF-8 passes through unchanged.

#include "front/Utils.h"

const std::string FILE_SEPARATOR = "/";

std::string baseNameOfPath(const std::string &path) {
  const auto separator = path.find_last_of("/\\");
  const auto begin = separator == std::string::npos ? 0 : separator + 1;
  const auto dot = path.find_last_of('.');
  if (dot == std::string::npos || dot < begin)
    return path.substr(begin);
  return path.substr(begin, dot - begin);
}
