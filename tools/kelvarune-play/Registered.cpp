// A mechanism whose last driver has left a goal unknown is not tried on it again; that, and what
// the description and the file say differently, is found out here.

#include "Registered.h"

#include "model/Goals.h"
#include "xml/XmlFile.h"

#include <algorithm>
#include <set>
#include <utility>

using namespace kelvarune;

using mechanism::mechanism_t;

namespace {

QDomElement elementOf(const QDomElement &goal, const QString &mechanism) {
  for (const QDomElement &element : xml::children(goal, pos::TAG_MECHANISM)) {
    if (element.attribute(pos::ATTR_NAME) == mechanism)
      return element;
  }
  return QDomElement();
}

bool hasGivenUp(const QDomElement &goal, const mechanism_t &mechanism) {
  const QDomElement element = elementOf(goal, QString::fromStdString(mechanism.name));
  if (element.isNull() || pos::statusOf(element) != pos::UNKNOWN)
    return false;
  QStringList added = mechanism.driver_names;
  for (const QDomElement &driver : xml::children(element, pos::TAG_DRIVER))
    added.removeAll(driver.attribute(pos::ATTR_NAME));
  return added.isEmpty();
}

} // namespace

std::optional<pos::goal_name_t> goalWithout(const QDomDocument &document,
                                            const QString &mechanism) {
  for (const pos::goal_t &goal : pos::goalsOf(document)) {
    if (elementOf(goal.element, mechanism).isNull())
      return goal.place;
  }
  return std::nullopt;
}

QStringList goneDrivers(const QDomDocument &document, const mechanism_t &mechanism) {
  QStringList gone;
  for (const pos::registered_t &registered : pos::registeredMechanisms(document)) {
    if (registered.name != QString::fromStdString(mechanism.name))
      continue;
    for (const QString &driver : registered.drivers) {
      if (!mechanism.driver_names.contains(driver))
        gone << driver;
    }
  }
  return gone;
}

std::vector<pos::goal_name_t> failedGoals(const QDomDocument &document, int &unnamed) {
  std::vector<pos::goal_name_t> failed;
  std::set<QString> names;
  for (const pos::goal_t &goal : pos::goalsOf(document)) {
    const bool isFirst = names.insert(pos::strOfGoalName(goal.place)).second;
    if (pos::statusOf(goal.element) == pos::PROVED)
      continue;
    if (isFirst)
      failed.push_back(goal.place);
    else
      ++unnamed;
  }
  return failed;
}

int leftUnknown(const QDomDocument &document, const std::vector<mechanism_t> &mechanisms) {
  const std::vector<pos::goal_t> goals = pos::goalsOf(document);
  return static_cast<int>(std::count_if(goals.begin(), goals.end(), [&](const pos::goal_t &goal) {
    const pos::status_t status = pos::statusOf(goal.element);
    return (status == pos::UNPROVED || status == pos::UNKNOWN) &&
           std::all_of(mechanisms.begin(), mechanisms.end(), [&](const mechanism_t &mechanism) {
             return hasGivenUp(goal.element, mechanism);
           });
  }));
}
