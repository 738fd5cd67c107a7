#include "model/Runs.h"

#include <algorithm>
#include <cmath>
#include <map>

using namespace history;

namespace {

constexpr double NEAR_LIMIT = 0.8;
constexpr double LEAST_SHARE = 0.2; // of a difference that is told
constexpr double LEAST_DIFFERENCE_S = 0.1;

using pair_key_t = std::pair<std::size_t, std::size_t>; // driver and goal

bool isResult(const play_t &play) {
  return play.outcome == outcome_t::PROVED || play.outcome == outcome_t::DISPROVED;
}

std::map<pair_key_t, const play_t *> playsOf(const past_t &past, std::size_t run) {
  std::map<pair_key_t, const play_t *> plays;
  for (const play_t &play : past.plays) {
    if (play.run == run)
      plays[{play.driver, play.goal}] = &play;
  }
  return plays;
}

/// Goals that were tried, and whether they were proved.
std::map<std::size_t, bool> provedGoals(const std::map<pair_key_t, const play_t *> &plays) {
  std::map<std::size_t, bool> goals;
  for (const auto &[key, play] : plays) {
    bool &isProved = goals[key.second];
    isProved = isProved || play->outcome == outcome_t::PROVED;
  }
  return goals;
}

std::vector<std::size_t> provedOnlyIn(const std::map<std::size_t, bool> &these,
                                      const std::map<std::size_t, bool> &others) {
  std::vector<std::size_t> found;
  for (const auto &[goal, isProved] : these) {
    const auto other = others.find(goal);
    if (isProved && other != others.end() && !other->second)
      found.push_back(goal);
  }
  return found;
}

} // namespace

std::vector<flaky_t> flakyOnes(const past_t &past) {
  std::map<pair_key_t, flaky_t> found;
  for (const play_t &play : past.plays) {
    flaky_t &flaky = found[{play.driver, play.goal}];
    flaky.driver = play.driver;
    flaky.goal = play.goal;
    flaky.outcomes.insert(play.outcome);
    const bool isNear =
        isResult(play) && play.timeLimit && play.prover >= NEAR_LIMIT * *play.timeLimit;
    flaky.nearLimit = isNear ? &play : nullptr; // as the last play has it
  }
  std::vector<flaky_t> list;
  for (const auto &[key, flaky] : found) {
    if (flaky.outcomes.size() > 1 || flaky.nearLimit)
      list.push_back(flaky);
  }
  return list;
}

comparison_t compareRuns(const past_t &past, std::size_t before, std::size_t after) {
  comparison_t result;
  const auto first = playsOf(past, before);
  const auto second = playsOf(past, after);
  for (const auto &[key, play] : first) {
    const auto other = second.find(key);
    if (other == second.end())
      continue;
    const pair_t pair = {play, other->second};
    ++result.common;
    result.wallBefore += play->wall;
    result.wallAfter += other->second->wall;
    const double difference = std::abs(pair.difference());
    if (difference > LEAST_DIFFERENCE_S && difference > LEAST_SHARE * play->wall)
      (pair.difference() > 0 ? result.slower : result.faster).push_back(pair);
  }
  for (std::vector<pair_t> *list : {&result.slower, &result.faster})
    std::stable_sort(list->begin(), list->end(), [](const pair_t &a, const pair_t &b) {
      return std::abs(a.difference()) > std::abs(b.difference());
    });
  result.lost = provedOnlyIn(provedGoals(first), provedGoals(second));
  result.gained = provedOnlyIn(provedGoals(second), provedGoals(first));
  return result;
}
