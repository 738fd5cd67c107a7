#ifndef KELVARUNE_GOALS_SOURCE_H
#define KELVARUNE_GOALS_SOURCE_H

#include <string>
#include <variant>

namespace kelvarune::goals {

/// Why a file cannot be read, in the system's words.
struct source_error_t {
  std::string text;
};

/// The bytes of a regular file. They are read, not mapped: a file that shrinks meanwhile would end
/// the program. One that changes its size or time meanwhile is an error.
std::variant<std::string, source_error_t> readSource(const std::string &path);

} // namespace kelvarune::goals

#endif
