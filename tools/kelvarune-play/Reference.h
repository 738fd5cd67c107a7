#ifndef KELVARUNE_PLAY_REFERENCE_H
#define KELVARUNE_PLAY_REFERENCE_H

#include "Options.h"
#include "mechanism/Mechanism.h"
#include "model/Goals.h"

#include <vector>

/// The goals of a POS file with the statuses that its proofs are worth: those that stand in it, and
/// those that a replay of `mechanisms` has to give back because their drivers had proved the goal
/// before the results were reset. Drivers that `options` leave out owe nothing, and the goals of
/// other shards are left out.
std::vector<goal_t> goalsWithProofs(const QDomDocument &document,
                                    const std::vector<mechanism::mechanism_t> &mechanisms,
                                    const play_options_t &options);

/// A line for each goal of `before` whose proof is gone or has become weaker in `after`, in the
/// order of `before`.
QStringList lostProofs(const std::vector<goal_t> &before, const std::vector<goal_t> &after);

#endif
