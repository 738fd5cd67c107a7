// TPTP problems: what is taken out of one is a problem of its own, with the same goal and no other.

#include "FuzzSupport.h"
#include "goals/TptpProblem.h"

#include <vector>

using namespace kelvarune;

void fuzz(const FuzzDirectory &directory, std::string_view input, std::mt19937 &choices) {
  const std::string here = directory.path("");
  directory.write("a.ax", input); // for an include of itself
  std::vector<goals::check_t> checks;
  const auto fault =
      goals::scanTptp(input, here, [&](const goals::check_t &check) { checks.push_back(check); });
  require(!fault || (fault->line > 0 && fault->column > 0), "a fault has a place");
  if (checks.empty())
    return;
  const goals::check_t &check = checks[choices() % checks.size()];
  std::string digest;
  const auto own = goals::tptpGoal(input, here, check.index, &digest);
  require(own && digest == check.digest, "a goal that was found is there");
  require(!goals::tptpGoal(input, here, checks.size()), "and none that was not");
  const auto ownFault = goals::scanTptp(*own, here, [&](const goals::check_t &again) {
    require(again.digest == digest, "a goal's own text is the goal");
  });
  require(!ownFault, "it is whole");
}
