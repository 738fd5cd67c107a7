#ifndef KELVARUNE_TOOLS_POS_MODEL_STATS_H
#define KELVARUNE_TOOLS_POS_MODEL_STATS_H

#include "model/Goals.h"
#include "pos/pos.h"

#include <map>
#include <string>

/// The counts of a POS file: the library's metrics and the goals that hang on one driver.
struct stats_t {
  pos::metrics_t metrics;
  int unknown = 0; ///< goals, which the metrics count in the total only
  int provedByOneDriver = 0;
  std::map<driver_name_t, int> provedAlone; ///< how many of those each driver carries

  int provedAloneBy(const std::string &mechanism, const std::string &driver) const;
};

/// Adds the counts of another file to `total`.
void add(const stats_t &stats, stats_t &total);

/// Counts `document`, whose goals are `goals`.
stats_t statsOf(const QDomDocument &document, const std::vector<goal_t> &goals);

#endif
