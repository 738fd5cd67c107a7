// The goals as records: what list-like commands and the reports look at, read off the document
// once. Statuses are taken as they stand; whether they follow from the parts is another command's
// matter.

#include "model/Goals.h"

#include "xml/XmlFile.h"

using namespace kelvarune;

namespace {

// Sorts the drivers of one mechanism into the goal's lists. Those that prove the goal for good go
// to `provers`; a mechanism that does so without a driver that says it gives one that has no name.
void addMechanism(const QDomElement &mechanism, goal_t &goal,
                  std::vector<std::optional<driver_name_t>> &provers) {
  const pos::status_t verdict = pos::statusOf(mechanism);
  const std::size_t before = provers.size();
  for (const QDomElement &driver : xml::children(mechanism, pos::TAG_DRIVER)) {
    const pos::status_t status = pos::statusOf(driver);
    const driver_name_t name = {mechanism.attribute(pos::ATTR_NAME),
                                driver.attribute(pos::ATTR_NAME)};
    if (status == pos::DISPROVED && verdict == pos::DISPROVED)
      goal.disprovedBy.push_back(name);
    if (!pos::isProof(status))
      continue;
    (pos::isProof(verdict) ? goal.provedBy : goal.uncountedProofs).push_back(name);
    if (verdict == pos::PROVED && status == pos::PROVED)
      provers.push_back(name);
  }
  if (verdict == pos::PROVED && provers.size() == before)
    provers.push_back(std::nullopt);
}

goal_t goalOf(const pos::goal_t &found) {
  const QDomElement &element = found.element;
  goal_t goal;
  goal.place = found.place;
  goal.status = pos::statusOf(element);
  goal.proofState = pos::proofStateOf(element, pos::ATTR_VALUE_UNPROVED);
  goal.source = element.attribute(pos::ATTR_SOURCE);
  goal.provedByItself = pos::isProvedProofState(goal.proofState);
  std::vector<std::optional<driver_name_t>> provers;
  for (const QDomElement &mechanism : xml::children(element, pos::TAG_MECHANISM))
    addMechanism(mechanism, goal, provers);
  if (goal.status == pos::PROVED && !goal.provedByItself && provers.size() == 1)
    goal.onlyProver = provers.front();
  return goal;
}

} // namespace

std::vector<goal_t> goalsOf(const QDomDocument &document) {
  std::vector<goal_t> goals;
  for (const pos::goal_t &goal : pos::goalsOf(document))
    goals.push_back(goalOf(goal));
  return goals;
}
