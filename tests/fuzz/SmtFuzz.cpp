// SMT-LIB scripts: what is taken out of one is a script of its own, with the same goal and no
// other.

#include "FuzzSupport.h"
#include "goals/SmtScript.h"

using namespace kelvarune;

void fuzz(const FuzzDirectory & /*directory*/, std::string_view input, std::mt19937 &choices) {
  std::vector<goals::check_t> checks;
  const auto fault =
      goals::scanSmt(input, [&](const goals::check_t &check) { checks.push_back(check); });
  require(!fault || (fault->line > 0 && fault->column > 0), "a fault has a place");
  if (checks.empty())
    return;
  const goals::check_t &check = checks[choices() % checks.size()];
  std::string digest;
  const auto own = goals::smtGoal(input, check.index, &digest);
  require(own && digest == check.digest, "a goal that was found is there");
  require(!goals::smtGoal(input, checks.size()), "and none that was not");
  std::size_t count = 0;
  const auto ownFault = goals::scanSmt(*own, [&](const goals::check_t &again) {
    ++count;
    require(again.digest == digest, "a goal's own text is the goal");
  });
  require(count == 1 && !ownFault, "it is whole, and alone");
}
