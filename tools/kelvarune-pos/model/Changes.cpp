// Finds what an operation of the library changed, by comparing the statuses before and after.

#include "model/Changes.h"

#include "pos/pos.h"
#include "xml/XmlFile.h"

using namespace kelvarune;

namespace {

QString statusTextOf(const QDomElement &element) {
  return element.attribute(pos::ATTR_STATUS, pos::ATTR_VALUE_UNPROVED);
}

} // namespace

std::vector<goal_state_t> statesOf(const QDomDocument &document) {
  std::vector<goal_state_t> states;
  for (const pos::goal_t &goal : pos::goalsOf(document)) {
    states.push_back({goal.place, statusTextOf(goal.element), {}});
    QStringList &verdicts = states.back().verdicts;
    for (const QDomElement &mechanism : xml::children(goal.element, pos::TAG_MECHANISM)) {
      verdicts.append(statusTextOf(mechanism));
      for (const QDomElement &driver : xml::children(mechanism, pos::TAG_DRIVER))
        verdicts.append(statusTextOf(driver));
    }
  }
  return states;
}

changes_t changesBetween(const std::vector<goal_state_t> &before,
                         const std::vector<goal_state_t> &after) {
  changes_t changes;
  for (std::size_t i = 0; i < before.size(); ++i) {
    changes.verdicts += before[i].verdicts != after[i].verdicts ? 1 : 0;
    if (before[i].status != after[i].status)
      changes.statuses.push_back({before[i].place, before[i].status, after[i].status});
  }
  return changes;
}
