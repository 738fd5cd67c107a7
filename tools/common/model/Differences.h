#ifndef KELVARUNE_TOOLS_COMMON_MODEL_DIFFERENCES_H
#define KELVARUNE_TOOLS_COMMON_MODEL_DIFFERENCES_H

#include "model/Goals.h"

enum class difference_kind_t { LOST, GAINED, CHANGED, DISAPPEARED, APPEARED };

/// Refers to the goals that were compared.
struct difference_t {
  difference_kind_t kind;
  const goal_t *before; ///< null for a goal that appeared
  const goal_t *after;  ///< null for a goal that disappeared
};

/// What became of the goals `before` in `after`, both in the order of their files.
///
/// Goals are matched by tag and number; where a tag comes several times, its first obligation is
/// matched with the first, and so on.
std::vector<difference_t> differences(const std::vector<goal_t> &before,
                                      const std::vector<goal_t> &after);

#endif
