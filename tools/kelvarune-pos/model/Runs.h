#ifndef KELVARUNE_TOOLS_POS_MODEL_RUNS_H
#define KELVARUNE_TOOLS_POS_MODEL_RUNS_H

#include "model/Times.h"

#include <cstddef>
#include <set>
#include <vector>

/// What differs between runs.

/// One driver on one goal whose verdicts differ between runs, or come close to the time limit.
struct flaky_t {
  std::size_t driver = 0;
  std::size_t goal = 0;
  std::set<history::outcome_t> outcomes;      ///< over all runs
  const history::play_t *nearLimit = nullptr; ///< the last proof or disproof, or null
};

/// By driver and goal. Near its limit is a result for which the prover took 80 % of it or more.
std::vector<flaky_t> flakyOnes(const history::past_t &past);

/// One driver on one goal in two runs.
struct pair_t {
  const history::play_t *before = nullptr;
  const history::play_t *after = nullptr;

  double difference() const { return after->wall - before->wall; }
};

struct comparison_t {
  std::vector<pair_t> slower;      ///< by more than a fifth and 0.1 s; most first
  std::vector<pair_t> faster;      ///< likewise
  std::vector<std::size_t> lost;   ///< goals proved in the first run and only tried in the second
  std::vector<std::size_t> gained; ///< the other way round
  int common = 0;                  ///< pairs of a driver and a goal that both runs have
  double wallBefore = 0;           ///< of those
  double wallAfter = 0;
};

comparison_t compareRuns(const history::past_t &past, std::size_t before, std::size_t after);

#endif
