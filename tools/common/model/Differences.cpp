// Compares two states of a component.

#include "model/Differences.h"

#include <map>
#include <tuple>

namespace {

using key_t = std::tuple<QString, int, int>; // tag, which obligation of that tag, number

std::map<key_t, const goal_t *> byKey(const std::vector<goal_t> &goals) {
  std::map<key_t, const goal_t *> result;
  std::map<QString, std::pair<int, int>> tags; // the last obligation of each tag, and which it was
  for (const goal_t &goal : goals) {
    auto &[obligation, occurrence] = tags[goal.place.tag];
    occurrence += obligation == goal.place.obligation ? 0 : 1;
    obligation = goal.place.obligation;
    result[{goal.place.tag, occurrence, goal.place.number}] = &goal;
  }
  return result;
}

// An unreliable proof is less than a proof, and more than none.
int strengthOf(pos::status_t status) {
  if (status == pos::PROVED)
    return 2;
  return status == pos::UNRELIABLY_PROVED ? 1 : 0;
}

difference_kind_t kindOf(pos::status_t before, pos::status_t after) {
  if (strengthOf(before) == strengthOf(after))
    return difference_kind_t::CHANGED;
  return strengthOf(before) > strengthOf(after) ? difference_kind_t::LOST
                                                : difference_kind_t::GAINED;
}

} // namespace

std::vector<difference_t> differences(const std::vector<goal_t> &before,
                                      const std::vector<goal_t> &after) {
  std::vector<difference_t> result;
  const auto old = byKey(before);
  const auto current = byKey(after);
  for (const auto &[key, goal] : old) {
    const auto found = current.find(key);
    if (found == current.end())
      result.push_back({difference_kind_t::DISAPPEARED, goal, nullptr});
    else if (found->second->status != goal->status)
      result.push_back({kindOf(goal->status, found->second->status), goal, found->second});
  }
  for (const auto &[key, goal] : current) {
    if (old.count(key) == 0)
      result.push_back({difference_kind_t::APPEARED, nullptr, goal});
  }
  return result;
}
