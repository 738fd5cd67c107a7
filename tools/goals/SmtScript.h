#ifndef KELVARUNE_GOALS_SMTSCRIPT_H
#define KELVARUNE_GOALS_SMTSCRIPT_H

#include "Language.h"

#include <string>
#include <vector>

namespace kelvarune::goals {

/// Finds the goals of an SMT-LIB script, in one pass: each (check-sat) and (check-sat-assuming
/// ...). Returns what is wrong with the script; the goals before that have been visited.
///
/// A goal is what counts at its check: options and logic, what is declared, defined and asserted on
/// the stack at that point. push, pop, reset, reset-assertions, exit and :global-declarations mean
/// what the standard says; z3 4.8 keeps declarations over a reset-assertions, which it should not.
/// Queries, information and what only guides a prover's output or its limits are no part of a goal.
/// A (set-info :status ...) is the expected answer of the next check.
std::optional<fault_t> scanSmt(std::string_view script, const visit_t &visit);

/// A goal's commands, as they stand in its script; parts of it.
struct smt_goal_t {
  std::size_t index = 0;                      ///< which check of the script
  std::string digest;                         ///< as of check_t
  std::vector<std::string_view> options;      ///< the last one of each name
  std::string_view logic;                     ///< (set-logic ...), or nothing
  std::vector<std::string_view> declarations; ///< those that outlive a pop
  std::vector<std::string_view> commands;     ///< the others, and the assertions
  std::string_view check;
  std::vector<std::string_view> assumptions; ///< the literals of a (check-sat-assuming ...)
};

/// Shows the goal of each of these indexes, which ascend, in one pass that ends with the last of
/// them. Returns what is wrong with the script before that.
std::optional<fault_t> visitSmtGoals(std::string_view script,
                                     const std::vector<std::size_t> &indexes,
                                     const std::function<void(const smt_goal_t &)> &visit);

/// The goal's own script, with one check.
std::string scriptOf(const smt_goal_t &goal);

/// The same of the goal with this index; nothing when there is no such goal.
std::optional<std::string> smtGoal(std::string_view script, std::size_t index,
                                   std::string *digest = nullptr);

} // namespace kelvarune::goals

#endif
