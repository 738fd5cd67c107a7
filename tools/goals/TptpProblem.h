#ifndef KELVARUNE_GOALS_TPTPPROBLEM_H
#define KELVARUNE_GOALS_TPTPPROBLEM_H

#include "Language.h"

#include <string>

namespace kelvarune::goals {

/// Finds the goals of a TPTP problem: each conjecture, together with all formulas that are none. A
/// problem without a conjecture is one goal when it has a negated conjecture, or when its Status is
/// "Unsatisfiable".
/// The goals are visited after the last formula; returns what is wrong with the problem.
///
/// What include(...) names is looked for in `directory`, that of the problem, and then in the
/// directory that the environment's TPTP names. It is part of the goals as if it stood there.
std::optional<fault_t> scanTptp(std::string_view problem, const std::string &directory,
                                const visit_t &visit);

/// The goal's own problem, without include; nothing when there is no such goal.
std::optional<std::string> tptpGoal(std::string_view problem, const std::string &directory,
                                    std::size_t index, std::string *digest = nullptr);

} // namespace kelvarune::goals

#endif
