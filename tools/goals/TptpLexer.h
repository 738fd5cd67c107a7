#ifndef KELVARUNE_GOALS_TPTPLEXER_H
#define KELVARUNE_GOALS_TPTPLEXER_H

#include "Digest.h"
#include "Language.h"

#include <optional>
#include <string_view>
#include <vector>

namespace kelvarune::goals {

/// A formula, or an include, as it is written.
struct tptp_statement_t {
  std::string_view text;    ///< from its language's name to the full stop
  std::string_view keyword; ///< fof, cnf, ..., include
  std::string_view name;    ///< the formula's, or the file's, with its quotes
  std::string_view role;    ///< the formula's
  digest_t digest;
  std::vector<std::string_view> selected; ///< the formulas that an include names
  bool selects = false;                   ///< whether an include names formulas
};

/// The statements of a TPTP problem, one after the other.
class TptpStatements {
public:
  explicit TptpStatements(std::string_view problem);

  /// Whether there was another one; not at the end, nor at a fault.
  bool next(tptp_statement_t &statement);

  /// The text of the comment line "% Status : ...", as far as it has been passed.
  std::string_view status() const { return foretold; }

  const std::optional<fault_t> &fault() const { return broken; }
  void fail(std::size_t offset, std::string what) {
    broken = faultAt(problem, offset, std::move(what));
  }
  std::size_t offsetOf(std::string_view part) const {
    return static_cast<std::size_t>(part.data() - problem.data());
  }

private:
  bool skipBlanks();
  std::string_view token();
  void takeComment(std::string_view line);
  bool endOfQuoted();

  std::string_view problem;
  std::size_t at = 0;
  std::string_view foretold;
  std::optional<fault_t> broken;
  TokenDigest digest;
};

} // namespace kelvarune::goals

#endif
