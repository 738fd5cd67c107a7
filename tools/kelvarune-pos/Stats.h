#ifndef KELVARUNE_TOOLS_POS_STATS_H
#define KELVARUNE_TOOLS_POS_STATS_H

#include "Goals.h"

#include <QJsonObject>

#include <map>

/// The counts of a POS file: the library's metrics and the goals that hang on one driver.
struct stats_t {
  pos::metrics_t metrics;
  int unknown = 0; ///< goals, which the metrics count in the total only
  int provedByOneDriver = 0;
  std::map<driver_name_t, int> provedAlone; ///< how many of those each driver carries
};

/// Counts the file at `path`, whose goals are `goals`. False when it cannot be read any more.
bool countGoals(const QString &path, const std::vector<goal_t> &goals, stats_t &stats);

/// "totals" and "mechanisms" of the documented JSON.
QJsonObject jsonOf(const stats_t &stats);

#endif
