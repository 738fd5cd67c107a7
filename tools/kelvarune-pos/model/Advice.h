#ifndef KELVARUNE_TOOLS_POS_MODEL_ADVICE_H
#define KELVARUNE_TOOLS_POS_MODEL_ADVICE_H

#include "history/Past.h"

#include <cstddef>
#include <optional>
#include <vector>

struct step_t {
  std::size_t driver = 0;
  std::optional<double> timeLimit; ///< for its prover, in seconds; none when it would end nothing
  double wall = 0;                 ///< what its entries will take
};

/// What would have given the same proofs and disproofs in less time.
struct advice_t {
  int goals = 0;
  int drivers = 0;
  int known = 0; ///< how many of the pairs of a driver and a goal have a time

  std::vector<std::size_t> order; ///< of the drivers as they are now
  double wall = 0;                ///< what they take now, one entry after the other
  int estimates = 0;              ///< pairs in that sum that have no time

  std::vector<step_t> steps; ///< what is advised
  double advisedWall = 0;
  int advisedEstimates = 0;
  std::vector<std::size_t> leftOut;

  std::vector<std::size_t> neededByNone; ///< drivers; one may be needed once another has gone
  /// By driver: the goals of which the result would be less without it.
  std::vector<std::vector<std::size_t>> hanging;
};

/// Finds the order of drivers and their time limits. The same history gives the same advice.
///
/// It stands on the last play of each driver on each goal. As in a run, a driver plays the goals
/// that those before it have left open, and the drivers of a mechanism follow each other. Where a
/// driver has never played a goal it is taken to prove nothing there, in the driver's mean time on
/// goals that it has not proved: an order is never advised for proofs that nobody has seen.
///
/// The order is the best one for up to 12 drivers, found over all subsets of them, of those that
/// give every result there is; for more drivers the next one is always that which settles most
/// goals for its time. A limit is twice the slowest result that its driver is to give in that
/// order, and half a second at least; it is lowered further where later drivers give these results
/// in less time than is saved. Both are repeated until nothing gets better.
advice_t adviceFor(const history::past_t &past);

#endif
