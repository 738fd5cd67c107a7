#ifndef KELVARUNE_TOOLS_POS_MODEL_TIMES_H
#define KELVARUNE_TOOLS_POS_MODEL_TIMES_H

#include "history/Past.h"

#include <cstddef>
#include <map>
#include <utility>
#include <vector>

/// Sums and quantiles of what a history holds; times are seconds.

using plays_t = std::vector<const history::play_t *>;

/// The last play of each driver on each goal, in the order in which they were recorded.
plays_t latestPlays(const history::past_t &past);

/// The value that at least this share of `values` does not exceed, and that is one of them; 0 when
/// there are none.
double quantile(std::vector<double> values, double share);

struct times_t {
  int plays = 0;
  int proved = 0;
  int disproved = 0;
  double wall = 0;
  double cpu = 0;
  double wallWithoutProof = 0; ///< on verdicts other than "Proved"
  double median = 0;           ///< of the wall clock, as what follows
  double ninety = 0;           ///< nine in ten take no longer
  double slowest = 0;
};

times_t timesOf(const plays_t &plays);

/// The plays apart, by driver or by goal.
std::map<std::size_t, plays_t> byDriver(const plays_t &plays);
std::map<std::size_t, plays_t> byGoal(const plays_t &plays);

/// What all drivers together took for a goal, by its tag and number.
std::map<std::pair<QString, int>, double> wallByGoal(const history::past_t &past);

#endif
