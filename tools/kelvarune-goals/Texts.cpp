#include "Texts.h"

#include "Paths.h"
#include "goals/SmtScript.h"
#include "goals/TptpProblem.h"

using namespace kelvarune;
using goals::language_t;

std::optional<goals::fault_t> scan(language_t language, const std::string &text,
                                   const std::string &path, const goals::visit_t &visit) {
  return language == language_t::SMTLIB ? goals::scanSmt(text, visit)
                                        : goals::scanTptp(text, paths::parentOf(path), visit);
}

void visitTexts(language_t language, const std::string &text, const std::string &path,
                const std::vector<goals::check_t> &checks,
                const std::function<void(std::size_t, const std::string &)> &visit) {
  if (language == language_t::TPTP) {
    for (std::size_t i = 0; i < checks.size(); ++i) {
      std::string digest;
      const auto own = goals::tptpGoal(text, paths::parentOf(path), checks[i].index, &digest);
      if (own && digest == checks[i].digest)
        visit(i, *own);
    }
    return;
  }
  std::vector<std::size_t> indexes;
  indexes.reserve(checks.size());
  for (const goals::check_t &check : checks)
    indexes.push_back(check.index);
  std::size_t next = 0;
  goals::visitSmtGoals(text, indexes, [&](const goals::smt_goal_t &goal) {
    while (next < checks.size() && checks[next].index < goal.index)
      ++next;
    if (next < checks.size() && checks[next].digest == goal.digest)
      visit(next, goals::scriptOf(goal));
  });
}
