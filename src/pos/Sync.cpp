// Two steps: a plan, which is only looked at where nothing may be written, and carrying it out.
// Each goal is looked up in tables, so that the time grows with the number of goals alone.

#include "pos/Sync.h"

#include "pos/PosInternal.h"

#include <QHash>
#include <QPair>

#include <algorithm>
#include <utility>

using namespace kelvarune;

namespace pos {

namespace {

/// The n-th obligation of a tag.
using obligation_key_t = QPair<QString, int>;

/// Numbers the obligations of each tag while they are walked through.
class TagCounter {
public:
  obligation_key_t next(const QString &tag) { return {tag, seen[tag]++}; }

private:
  QHash<QString, int> seen;
};

/// Goals of the document under a key, taken in their order.
template <typename Key>
class Shelf {
public:
  void put(const Key &key, std::size_t goal) { shelf[key].goals.push_back(goal); }

  std::optional<std::size_t> take(const Key &key, std::vector<bool> &used) {
    const auto found = shelf.find(key);
    if (found == shelf.end())
      return std::nullopt;
    std::size_t &next = found->next;
    while (next < found->goals.size() && used[found->goals[next]])
      ++next;
    if (next == found->goals.size())
      return std::nullopt;
    used[found->goals[next]] = true;
    return found->goals[next++];
  }

private:
  struct row_t {
    std::vector<std::size_t> goals;
    std::size_t next = 0;
  };
  QHash<Key, row_t> shelf;
};

struct old_goal_t {
  QString tag;
  int number; // from 1
  QString digest;
  QString source;
};

/// One making of a plan.
class Planner {
public:
  Planner(const QDomDocument &document, const std::vector<listed_obligation_t> &listed,
          undigested_t undigested)
      : listed(listed), undigested(undigested) {
    readOld(document);
  }

  sync_plan_t plan() {
    placeAll();
    if (openGoals > 0) {
      matchDigests();
      listChanges();
    }
    for (std::size_t i = 0; i < old.size(); ++i) {
      if (!used[i])
        result.changes.push_back({goal_change_kind_t::REMOVED, {old[i].tag, old[i].number}});
    }
    return std::move(result);
  }

private:
  struct new_goal_t {
    const listed_goal_t *goal;
    goal_name_t name;
    std::optional<std::size_t> sameName; // of the document
  };

  void readOld(const QDomDocument &document) {
    TagCounter counter;
    const std::vector<obligation_t> obligations = obligationsOf(document);
    bool isSame = obligations.size() == listed.size();
    for (std::size_t i = 0; i < obligations.size(); ++i) {
      const obligation_t &obligation = obligations[i];
      firstOf[counter.next(obligation.tag)] = {old.size(), obligation.goals.size()};
      for (const QDomElement &goal : obligation.goals)
        old.push_back({obligation.tag, static_cast<int>(&goal - obligation.goals.data()) + 1,
                       goal.attribute(ATTR_DIGEST), goal.attribute(ATTR_SOURCE)});
      isSame = isSame && listed[i].tag == obligation.tag &&
               listed[i].goals.size() == obligation.goals.size();
    }
    result.isReordered = !isSame;
    used.resize(old.size());
  }

  // Goals that are what the document says under the same name, which are nearly all of them.
  void placeAll() {
    TagCounter counter;
    for (const listed_obligation_t &obligation : listed) {
      const auto there = firstOf.value(counter.next(obligation.tag), {0, 0});
      for (std::size_t j = 0; j < obligation.goals.size(); ++j) {
        const goal_name_t name = {obligation.tag, static_cast<int>(j) + 1};
        goals.push_back({&obligation.goals[j], name, std::nullopt});
        result.origins.emplace_back();
        if (j < there.second)
          goals.back().sameName = there.first + j;
        place(goals.back());
      }
    }
  }

  void place(const new_goal_t &goal) {
    if (!goal.sameName || !isEqual(old[*goal.sameName], *goal.goal)) {
      ++openGoals;
      return;
    }
    const old_goal_t &before = old[*goal.sameName];
    used[*goal.sameName] = true;
    result.origins.back() = goal.sameName;
    ++result.kept;
    result.hasOtherSources =
        result.hasOtherSources || before.source != goal.goal->source || before.digest.isEmpty();
  }

  bool isEqual(const old_goal_t &before, const listed_goal_t &now) {
    if (!before.digest.isEmpty())
      return before.digest == now.digest;
    ++result.unknown;
    return undigested == undigested_t::ADOPTED;
  }

  void matchDigests() {
    Shelf<QPair<QString, QString>> near;
    Shelf<QString> anywhere;
    for (std::size_t i = 0; i < old.size(); ++i) {
      if (used[i] || old[i].digest.isEmpty())
        continue;
      near.put({old[i].digest, old[i].tag}, i);
      anywhere.put(old[i].digest, i);
    }
    const auto matchBy = [this](const auto &take) {
      for (std::size_t i = 0; i < goals.size(); ++i) {
        if (!result.origins[i])
          result.origins[i] = take(goals[i]);
      }
    };
    matchBy([&](const new_goal_t &goal) {
      return near.take({goal.goal->digest, goal.name.tag}, used);
    });
    matchBy([&](const new_goal_t &goal) { return anywhere.take(goal.goal->digest, used); });
  }

  void listChanges() {
    for (std::size_t i = 0; i < goals.size(); ++i) {
      const new_goal_t &goal = goals[i];
      const std::optional<std::size_t> origin = result.origins[i];
      if (origin && origin == goal.sameName)
        continue;
      if (origin) {
        result.changes.push_back(
            {goal_change_kind_t::MOVED, goal.name, {old[*origin].tag, old[*origin].number}});
      } else if (goal.sameName && !used[*goal.sameName]) {
        used[*goal.sameName] = true;
        result.changes.push_back({goal_change_kind_t::CHANGED, goal.name});
      } else {
        result.changes.push_back({goal_change_kind_t::ADDED, goal.name});
      }
    }
  }

  const std::vector<listed_obligation_t> &listed;
  const undigested_t undigested;
  std::vector<old_goal_t> old;
  std::vector<bool> used;                                           // of `old`
  QHash<obligation_key_t, QPair<std::size_t, std::size_t>> firstOf; // goal of `old`, and how many
  std::vector<new_goal_t> goals;
  std::size_t openGoals = 0;
  sync_plan_t result;
};

QDomElement withStatus(QDomDocument &document, const QString &tag, const QString &name) {
  QDomElement element = document.createElement(tag);
  if (!name.isNull())
    element.setAttribute(ATTR_NAME, name);
  element.setAttribute(ATTR_STATUS, ATTR_VALUE_UNPROVED);
  return element;
}

QDomElement freshGoal(QDomDocument &document, const std::vector<registered_t> &registered) {
  QDomElement goal = withStatus(document, TAG_SIMPLE_GOAL, QString());
  QDomElement own = document.createElement(TAG_PROOF_STATE);
  own.setAttribute(ATTR_PROOF_STATE, ATTR_VALUE_UNPROVED);
  goal.appendChild(own);
  for (const registered_t &mechanism : registered) {
    QDomElement element = withStatus(document, TAG_MECHANISM, mechanism.name);
    for (const QString &driver : mechanism.drivers)
      element.appendChild(withStatus(document, TAG_DRIVER, driver));
    goal.appendChild(element);
  }
  return goal;
}

QDomElement freshObligation(QDomDocument &document, const QString &tag) {
  QDomElement obligation = document.createElement(TAG_PROOF_OBLIGATION);
  QDomElement name = document.createElement(TAG_TAG);
  name.appendChild(document.createTextNode(tag));
  obligation.appendChild(name);
  return obligation;
}

void describe(QDomElement goal, const listed_goal_t &listed) {
  goal.setAttribute(ATTR_DIGEST, listed.digest);
  if (listed.source.isEmpty())
    goal.removeAttribute(ATTR_SOURCE);
  else
    goal.setAttribute(ATTR_SOURCE, listed.source);
}

/// Takes all obligations out of the document; and the goals out of them, as they are in `goals`.
QHash<obligation_key_t, QDomElement> takeObligations(QDomElement root,
                                                     const std::vector<goal_t> &goals) {
  QHash<obligation_key_t, QDomElement> obligations;
  TagCounter counter;
  for (const QDomElement &obligation : xml::children(root, TAG_PROOF_OBLIGATION)) {
    obligations[counter.next(obligation.firstChildElement(TAG_TAG).text())] = obligation;
    root.removeChild(obligation);
  }
  for (const goal_t &goal : goals)
    goal.element.parentNode().removeChild(goal.element);
  return obligations;
}

} // namespace

sync_plan_t planSync(const QDomDocument &document, const std::vector<listed_obligation_t> &listed,
                     undigested_t undigested) {
  return Planner(document, listed, undigested).plan();
}

void sync(QDomDocument &document, const std::vector<listed_obligation_t> &listed,
          const sync_plan_t &plan) {
  const std::vector<registered_t> registered = registeredMechanisms(document);
  const std::vector<goal_t> goals = goalsOf(document);
  QDomElement root = document.documentElement();
  const QHash<obligation_key_t, QDomElement> obligations = takeObligations(root, goals);
  TagCounter counter;
  std::size_t number = 0;
  for (const listed_obligation_t &now : listed) {
    QDomElement obligation = obligations.value(counter.next(now.tag));
    if (obligation.isNull())
      obligation = freshObligation(document, now.tag);
    root.appendChild(obligation);
    for (const listed_goal_t &goal : now.goals) {
      const std::optional<std::size_t> origin = plan.origins[number++];
      const QDomElement element = origin ? goals[*origin].element : freshGoal(document, registered);
      describe(element, goal);
      obligation.appendChild(element);
    }
  }
}

std::optional<goal_place_t> differenceOfDigests(const QDomDocument &first,
                                                const QDomDocument &second) {
  const std::vector<goal_t> goals = goalsOf(first);
  const std::vector<goal_t> others = goalsOf(second);
  for (std::size_t i = 0; i < std::min(goals.size(), others.size()); ++i) {
    const QString digest = goals[i].element.attribute(ATTR_DIGEST);
    const QString other = others[i].element.attribute(ATTR_DIGEST);
    if (digest != other && !digest.isEmpty() && !other.isEmpty())
      return goals[i].place;
  }
  return std::nullopt;
}

} // namespace pos
