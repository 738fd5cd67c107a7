#ifndef KELVARUNE_GOALS_LANGUAGE_H
#define KELVARUNE_GOALS_LANGUAGE_H

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace kelvarune::goals {

enum class language_t { SMTLIB, TPTP };

/// The language that the suffix of a file's name tells. TPTP's ".ax" is of the language, though a
/// file of axioms alone has no goals.
std::optional<language_t> languageOf(std::string_view fileName);

/// Where a file is broken, counted from 1 (columns in bytes), and how.
struct fault_t {
  std::size_t line = 0;
  std::size_t column = 0;
  std::string text;
};

/// The fault at a place of a text.
fault_t faultAt(std::string_view text, std::size_t offset, std::string what);

/// One goal of a file.
struct check_t {
  std::size_t index = 0; ///< which one of the file, from 0
  std::size_t line = 0;  ///< where its check or conjecture stands, from 1
  std::string digest;    ///< 32 hexadecimal digits: equal for goals that ask the same
  std::string expected;  ///< the answer that the file foretells, as it words it, or nothing
  std::string name;      ///< the conjecture's name, or nothing
};

using visit_t = std::function<void(const check_t &)>;

/// Counts the lines of a text on from the last offset asked for: asking in order costs one pass.
class LineCounter {
public:
  explicit LineCounter(std::string_view text) : text(text) {}

  /// The line of an offset, from 1; offsets only grow.
  std::size_t lineOf(std::size_t offset);

private:
  std::string_view text;
  std::size_t counted = 0;
  std::size_t line = 1;
};

} // namespace kelvarune::goals

#endif
