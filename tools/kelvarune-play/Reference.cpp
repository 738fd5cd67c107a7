// What a replay must not lose. Resetting a POS file leaves the verdicts of the drivers, for no
// other purpose than that a replay gives the proofs back; so they count as proofs that the file
// holds.

#include "Reference.h"

#include "model/Differences.h"
#include "output/Words.h"
#include "text/Literals.h"

#include <algorithm>
#include <map>
#include <utility>

using namespace kelvarune;

using mechanism::mechanism_t;
using mechanism::trust_t;

namespace {

bool isPlayed(const mechanism_t &mechanism, const QString &driver, const play_options_t &options) {
  const int index = mechanism.driver_names.indexOf(driver);
  return options.plays(driver,
                       index >= 0 && mechanism.drivers[static_cast<std::size_t>(index)].fast);
}

pos::status_t worthOf(int proofs, trust_t trust) {
  if (proofs == 0)
    return pos::UNPROVED;
  const int needed = trust == trust_t::REDUNDANCY ? 2 : 1;
  return trust != trust_t::NEVER && proofs >= needed ? pos::PROVED : pos::UNRELIABLY_PROVED;
}

/// What the proofs of one mechanism are worth for the goal.
pos::status_t worthOf(const goal_t &goal, const mechanism_t &mechanism,
                      const play_options_t &options) {
  const QString name = QString::fromStdString(mechanism.name);
  int proofs = 0;
  for (const std::vector<driver_name_t> *drivers : {&goal.provedBy, &goal.uncountedProofs}) {
    for (const driver_name_t &driver : *drivers)
      proofs += driver.mechanism == name && isPlayed(mechanism, driver.driver, options) ? 1 : 0;
  }
  return worthOf(proofs, mechanism.trust);
}

// " by NAMES", or nothing where only the file itself says that the goal is proved.
QString proversOf(const goal_t &goal) {
  std::vector<driver_name_t> drivers = goal.provedBy;
  drivers.insert(drivers.end(), goal.uncountedProofs.begin(), goal.uncountedProofs.end());
  return drivers.empty() ? QString() : " by "_s + namesOf(drivers, ", "_s);
}

} // namespace

std::vector<goal_t> goalsWithProofs(const QDomDocument &document,
                                    const std::vector<mechanism_t> &mechanisms,
                                    const play_options_t &options) {
  std::vector<goal_t> goals;
  unsigned long number = 0;
  for (goal_t &goal : goalsOf(document)) {
    if (number++ % options.shards == options.shard)
      goals.push_back(std::move(goal));
  }
  for (goal_t &goal : goals) {
    if (goal.status == pos::DISPROVED)
      continue;
    // The numbers of the statuses up to PROVED grow with what they are worth.
    for (const mechanism_t &mechanism : mechanisms)
      goal.status = std::max(goal.status, worthOf(goal, mechanism, options));
  }
  return goals;
}

QStringList lostProofs(const std::vector<goal_t> &before, const std::vector<goal_t> &after) {
  std::map<const goal_t *, QString> lines; // in the order of the goals
  for (const difference_t &difference : differences(before, after)) {
    const bool isGone = difference.kind == difference_kind_t::DISAPPEARED;
    if (difference.kind != difference_kind_t::LOST && !isGone)
      continue;
    const goal_t &goal = *difference.before;
    if (isProof(goal.status))
      lines[&goal] = "%1: %2%3 before, %4 now"_s.arg(
          textOf(goal.place), pos::strOfProofStatus(goal.status), proversOf(goal),
          isGone ? "gone"_s : pos::strOfProofStatus(difference.after->status));
  }
  QStringList result;
  for (const auto &[goal, line] : lines)
    result << line;
  return result;
}
