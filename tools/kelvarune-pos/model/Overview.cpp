#include "model/Overview.h"

#include <algorithm>

namespace {

bool isOfKind(const change_t &change, difference_kind_t kind) {
  return change.kind == kind;
}

void sortByKind(std::vector<change_t> &changes) {
  std::stable_sort(changes.begin(), changes.end(),
                   [](const change_t &a, const change_t &b) { return a.kind < b.kind; });
}

template <typename Predicate>
int countIf(const std::vector<change_t> &changes, Predicate predicate) {
  return static_cast<int>(std::count_if(changes.begin(), changes.end(), predicate));
}

} // namespace

bool overview_t::hasFaults() const {
  return std::any_of(components.begin(), components.end(),
                     [](const component_t &component) { return !component.faults.isEmpty(); });
}

std::vector<change_t> changesOf(const std::vector<goal_t> &before,
                                const std::vector<goal_t> &after) {
  const auto statusOf = [](const goal_t *goal) {
    return goal ? std::optional(goal->status) : std::nullopt;
  };
  std::vector<change_t> changes;
  for (const difference_t &difference : differences(before, after))
    changes.push_back({difference.kind,
                       (difference.after ? difference.after : difference.before)->place,
                       statusOf(difference.before), statusOf(difference.after)});
  sortByKind(changes);
  return changes;
}

int countOf(const component_t &component, difference_kind_t kind) {
  return countIf(component.changes,
                 [kind](const change_t &change) { return isOfKind(change, kind); });
}

int countOf(const overview_t &overview, difference_kind_t kind) {
  int count = 0;
  for (const component_t &component : overview.components)
    count += countOf(component, kind);
  return count;
}

int countOfGoneProofs(const overview_t &overview) {
  int count = 0;
  for (const component_t &component : overview.components)
    count +=
        countIf(component.changes, [](const change_t &change) { return change.isGoneProof(); });
  return count;
}

void takeGoneForLost(overview_t &overview) {
  for (component_t &component : overview.components) {
    for (change_t &change : component.changes) {
      if (change.isGoneProof())
        change.kind = difference_kind_t::LOST;
    }
    sortByKind(component.changes);
  }
}
