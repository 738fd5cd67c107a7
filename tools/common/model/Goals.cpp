// The goals as records: what list-like commands and the reports look at, read off the document
// once. Statuses are taken as they stand; whether they follow from the parts is another command's
// matter.

#include "model/Goals.h"

#include "xml/XmlFile.h"

#include <algorithm>

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
  goal.provedByItself = pos::isProvedProofState(goal.proofState);
  std::vector<std::optional<driver_name_t>> provers;
  for (const QDomElement &mechanism : xml::children(element, pos::TAG_MECHANISM))
    addMechanism(mechanism, goal, provers);
  if (goal.status == pos::PROVED && !goal.provedByItself && provers.size() == 1)
    goal.onlyProver = provers.front();
  return goal;
}

/// The record of the mechanism `name`, which is made when there is none yet.
registered_t &findOrAdd(std::vector<registered_t> &mechanisms, const QString &name) {
  const auto found =
      std::find_if(mechanisms.begin(), mechanisms.end(),
                   [&name](const registered_t &mechanism) { return mechanism.name == name; });
  if (found != mechanisms.end())
    return *found;
  mechanisms.push_back({name, {}});
  return mechanisms.back();
}

} // namespace

std::vector<goal_t> goalsOf(const QDomDocument &document) {
  std::vector<goal_t> goals;
  for (const pos::goal_t &goal : pos::goalsOf(document))
    goals.push_back(goalOf(goal));
  return goals;
}

std::vector<registered_t> registeredMechanisms(const QDomDocument &document) {
  std::vector<registered_t> mechanisms;
  for (const pos::goal_t &goal : pos::goalsOf(document)) {
    for (const QDomElement &mechanism : xml::children(goal.element, pos::TAG_MECHANISM)) {
      QStringList &drivers = findOrAdd(mechanisms, mechanism.attribute(pos::ATTR_NAME)).drivers;
      for (const QDomElement &driver : xml::children(mechanism, pos::TAG_DRIVER)) {
        const QString name = driver.attribute(pos::ATTR_NAME);
        if (!drivers.contains(name))
          drivers.append(name);
      }
    }
  }
  return mechanisms;
}
