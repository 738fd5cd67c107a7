// Both changes take verdicts of drivers away and then ask whether what the mechanism says still has
// a driver that says it.

#include "pos/Edits.h"

#include "pos/PosInternal.h"

#include <vector>

using namespace kelvarune;

namespace pos {

namespace {

/// The elements named `name` among the children of `parent` that are a `tag`; all without a name.
std::vector<QDomElement> namedChildren(const QDomElement &parent, const QString &tag,
                                       const std::optional<QString> &name) {
  std::vector<QDomElement> found;
  for (const QDomElement &child : xml::children(parent, tag)) {
    if (!name || child.attribute(ATTR_NAME) == *name)
      found.push_back(child);
  }
  return found;
}

bool saysTheSame(status_t driver, status_t mechanism) {
  return isProof(mechanism) ? isProof(driver) : driver == mechanism;
}

bool hasDriverThatSays(status_t verdict, const QDomElement &mechanism) {
  for (const QDomElement &driver : xml::children(mechanism, TAG_DRIVER)) {
    if (saysTheSame(statusOf(driver), verdict))
      return true;
  }
  return false;
}

void reset(QDomElement element) {
  element.setAttribute(ATTR_STATUS, ATTR_VALUE_UNPROVED);
}

void deriveStatus(QDomElement goal) {
  const status_t expected = expectedStatus(goal);
  if (statusOf(goal) != expected)
    goal.setAttribute(ATTR_STATUS, strOfProofStatus(expected));
}

/// Whether the verdict of `element` is to be reset, and is one that this would change.
bool matches(const verdict_filter_t &filter, const QDomElement &element) {
  const status_t status = statusOf(element);
  return status != UNPROVED && (filter.statuses.empty() || filter.statuses.count(status) > 0);
}

bool resetDrivers(const QDomElement &mechanism, const verdict_filter_t &filter) {
  bool changed = false;
  for (const QDomElement &driver : namedChildren(mechanism, TAG_DRIVER, filter.driver)) {
    if (!matches(filter, driver))
      continue;
    const status_t said = statusOf(driver);
    reset(driver);
    if (said == UNKNOWN && statusOf(mechanism) == UNKNOWN)
      reset(mechanism);
    followDriver(mechanism, said);
    changed = true;
  }
  return changed;
}

bool resetMechanism(const QDomElement &mechanism, const verdict_filter_t &filter) {
  if (!matches(filter, mechanism))
    return false;
  reset(mechanism);
  return true;
}

} // namespace

void followDriver(const QDomElement &mechanism, status_t said) {
  const status_t verdict = statusOf(mechanism);
  if (saysTheSame(said, verdict) && !hasDriverThatSays(verdict, mechanism))
    reset(mechanism);
}

int resetVerdicts(QDomDocument &document, const verdict_filter_t &filter) {
  int count = 0;
  for (const goal_t &goal : goalsOf(document)) {
    if (filter.isWanted && !filter.isWanted(goal.place))
      continue;
    bool changed = false;
    for (const QDomElement &mechanism :
         namedChildren(goal.element, TAG_MECHANISM, filter.mechanism)) {
      if (filter.driver ? resetDrivers(mechanism, filter) : resetMechanism(mechanism, filter))
        changed = true;
    }
    if (!changed)
      continue;
    deriveStatus(goal.element);
    ++count;
  }
  return count;
}

int removeDriver(QDomDocument &document, const QString &mechanism, const QString &driver) {
  int count = 0;
  for (const goal_t &goal : goalsOf(document)) {
    bool changed = false;
    for (QDomElement &element : namedChildren(goal.element, TAG_MECHANISM, mechanism)) {
      for (const QDomElement &removed : namedChildren(element, TAG_DRIVER, driver)) {
        const status_t said = statusOf(removed);
        element.removeChild(removed);
        followDriver(element, said);
        changed = true;
      }
    }
    if (!changed)
      continue;
    deriveStatus(goal.element);
    ++count;
  }
  return count;
}

} // namespace pos
