// Works goal by goal: the n-th of one document is the n-th of the other.

#include "pos/Merge.h"

#include "pos/PosInternal.h"

#include <algorithm>

using namespace kelvarune;

namespace pos {

namespace {

/// The lower, the stronger.
int rankOf(status_t status) {
  constexpr status_t RANKS[] = {DISPROVED, PROVED, UNRELIABLY_PROVED, UNKNOWN, UNPROVED};
  return static_cast<int>(std::find(std::begin(RANKS), std::end(RANKS), status) - RANKS);
}

bool contradict(status_t first, status_t second) {
  return (first == DISPROVED && isProof(second)) || (second == DISPROVED && isProof(first));
}

QDomElement namedChild(const QDomElement &parent, const QString &tag, const QString &name) {
  for (const QDomElement &child : xml::children(parent, tag)) {
    if (child.attribute(ATTR_NAME) == name)
      return child;
  }
  return {};
}

QDomElement copyInto(QDomElement parent, const QDomElement &element) {
  return parent.appendChild(parent.ownerDocument().importNode(element, true)).toElement();
}

// What stands below the first `tag` of the goal, when only one of the two may stay.
void replaceChild(QDomElement goal, const QString &tag, const QDomElement &other) {
  const QDomElement present = goal.firstChildElement(tag);
  const QDomNode copy = goal.ownerDocument().importNode(other, true);
  if (present.isNull())
    goal.insertBefore(copy, goal.firstChildElement(TAG_MECHANISM));
  else
    goal.replaceChild(copy, present);
}

status_t verdictOfIapa(const QDomElement &iapa) {
  return ia_dict().at(iapa.firstChildElement(TAG_STATUS).attribute(ATTR_VALUE));
}

/// Merges one goal, and collects its contradictions.
class GoalMerge {
public:
  GoalMerge(const goal_t &goal, const QDomElement &other) : goal(goal), other(other) {}

  std::vector<contradiction_t> merge() {
    const status_t first = statusOf(goal.element);
    takeOwnProof();
    takeIapa();
    for (const QDomElement &mechanism : xml::children(other, TAG_MECHANISM))
      takeMechanism(mechanism);
    QDomElement element = goal.element;
    const status_t expected = expectedStatus(element);
    if (first != expected)
      element.setAttribute(ATTR_STATUS, strOfProofStatus(expected));
    if (contradictions.empty())
      compare(first, statusOf(other), {}, {});
    return std::move(contradictions);
  }

private:
  void takeOwnProof() {
    const auto isProved = [](const QDomElement &element) {
      return isProvedProofState(proofStateOf(element, QString()));
    };
    if (isProved(other) && !isProved(goal.element))
      replaceChild(goal.element, TAG_PROOF_STATE, other.firstChildElement(TAG_PROOF_STATE));
  }

  void takeIapa() {
    const QDomElement present = goal.element.firstChildElement(TAG_IAPA);
    const QDomElement added = other.firstChildElement(TAG_IAPA);
    if (added.isNull())
      return;
    if (present.isNull() || rankOf(verdictOfIapa(added)) < rankOf(verdictOfIapa(present)))
      replaceChild(goal.element, TAG_IAPA, added);
  }

  void takeMechanism(const QDomElement &added) {
    const QString name = added.attribute(ATTR_NAME);
    const QDomElement present = namedChild(goal.element, TAG_MECHANISM, name);
    if (present.isNull()) {
      copyInto(goal.element, added);
      return;
    }
    const std::size_t before = contradictions.size();
    const status_t first = statusOf(present);
    for (const QDomElement &driver : xml::children(added, TAG_DRIVER))
      takeDriver(present, driver);
    takeStatus(present, added);
    if (contradictions.size() != before)
      followDriver(present, PROVED);
    if (statusOf(present) == UNKNOWN && hasDefiniteDriver(present))
      QDomElement(present).setAttribute(ATTR_STATUS, ATTR_VALUE_UNPROVED);
    if (contradictions.size() == before)
      compare(first, statusOf(added), name, {});
  }

  void takeDriver(const QDomElement &mechanism, const QDomElement &added) {
    const QString name = added.attribute(ATTR_NAME);
    const QDomElement present = namedChild(mechanism, TAG_DRIVER, name);
    if (present.isNull()) {
      copyInto(mechanism, added);
      return;
    }
    compare(statusOf(present), statusOf(added), mechanism.attribute(ATTR_NAME), name);
    takeStatus(present, added);
  }

  static void takeStatus(QDomElement present, const QDomElement &added) {
    if (rankOf(statusOf(added)) < rankOf(statusOf(present)))
      present.setAttribute(ATTR_STATUS, added.attribute(ATTR_STATUS));
  }

  static bool hasDefiniteDriver(const QDomElement &mechanism) {
    for (const QDomElement &driver : xml::children(mechanism, TAG_DRIVER)) {
      if (rankOf(statusOf(driver)) < rankOf(UNKNOWN))
        return true;
    }
    return false;
  }

  void compare(status_t first, status_t second, const std::optional<QString> &mechanism,
               const std::optional<QString> &driver) {
    if (contradict(first, second))
      contradictions.push_back({goal.place, mechanism, driver, first, second});
  }

  const goal_t &goal;
  const QDomElement &other;
  std::vector<contradiction_t> contradictions;
};

} // namespace

std::optional<goals_difference_t> differenceOfGoals(const QDomDocument &first,
                                                    const QDomDocument &second) {
  const std::vector<obligation_t> left = obligationsOf(first);
  const std::vector<obligation_t> right = obligationsOf(second);
  const auto at = [](const std::vector<obligation_t> &all, std::size_t index) {
    return index < all.size() ? std::optional(all[index]) : std::nullopt;
  };
  for (std::size_t i = 0; i < std::max(left.size(), right.size()); ++i) {
    const bool same = i < left.size() && i < right.size() && left[i].tag == right[i].tag &&
                      left[i].goals.size() == right[i].goals.size();
    if (!same)
      return goals_difference_t{static_cast<int>(i) + 1, at(left, i), at(right, i)};
  }
  return std::nullopt;
}

std::vector<contradiction_t> merge(QDomDocument &document, const QDomDocument &other) {
  std::vector<contradiction_t> all;
  const std::vector<goal_t> goals = goalsOf(document);
  const std::vector<goal_t> others = goalsOf(other);
  for (std::size_t i = 0; i < std::min(goals.size(), others.size()); ++i) {
    for (contradiction_t &found : GoalMerge(goals[i], others[i].element).merge())
      all.push_back(std::move(found));
  }
  return all;
}

} // namespace pos
