#include "model/Times.h"

#include <algorithm>
#include <cmath>

using namespace history;

plays_t latestPlays(const past_t &past) {
  std::map<std::pair<std::size_t, std::size_t>, std::size_t> last;
  for (std::size_t i = 0; i < past.plays.size(); ++i)
    last[{past.plays[i].driver, past.plays[i].goal}] = i;
  std::vector<std::size_t> indexes;
  indexes.reserve(last.size());
  for (const auto &[pair, index] : last)
    indexes.push_back(index);
  std::sort(indexes.begin(), indexes.end());
  plays_t plays;
  plays.reserve(indexes.size());
  for (const std::size_t index : indexes)
    plays.push_back(&past.plays[index]);
  return plays;
}

double quantile(std::vector<double> values, double share) {
  if (values.empty())
    return 0;
  std::sort(values.begin(), values.end());
  const double rank = std::ceil(share * static_cast<double>(values.size()));
  return values[std::max<std::size_t>(1, static_cast<std::size_t>(rank)) - 1];
}

times_t timesOf(const plays_t &plays) {
  times_t times;
  std::vector<double> walls;
  walls.reserve(plays.size());
  for (const play_t *play : plays) {
    ++times.plays;
    times.proved += play->outcome == outcome_t::PROVED ? 1 : 0;
    times.disproved += play->outcome == outcome_t::DISPROVED ? 1 : 0;
    times.wall += play->wall;
    times.cpu += play->cpu;
    times.wallWithoutProof += play->outcome == outcome_t::PROVED ? 0 : play->wall;
    walls.push_back(play->wall);
  }
  times.median = quantile(walls, 0.5);
  times.ninety = quantile(walls, 0.9);
  times.slowest = quantile(walls, 1);
  return times;
}

std::map<std::size_t, plays_t> byDriver(const plays_t &plays) {
  std::map<std::size_t, plays_t> result;
  for (const play_t *play : plays)
    result[play->driver].push_back(play);
  return result;
}

std::map<std::size_t, plays_t> byGoal(const plays_t &plays) {
  std::map<std::size_t, plays_t> result;
  for (const play_t *play : plays)
    result[play->goal].push_back(play);
  return result;
}

std::map<std::pair<QString, int>, double> wallByGoal(const past_t &past) {
  std::map<std::pair<QString, int>, double> walls;
  for (const play_t *play : latestPlays(past)) {
    const known_goal_t &goal = past.goals[play->goal];
    walls[{goal.tag, goal.number}] += play->wall;
  }
  return walls;
}
