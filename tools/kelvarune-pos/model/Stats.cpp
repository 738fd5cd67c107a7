// The counts are the library's. What it does not count is added here: the goals with status
// "Unknown", which are what the other counters leave of the total, and the goals that hang on the
// proof of a single driver.

#include "model/Stats.h"

int stats_t::provedAloneBy(const std::string &mechanism, const std::string &driver) const {
  const auto found =
      provedAlone.find({QString::fromStdString(mechanism), QString::fromStdString(driver)});
  return found == provedAlone.end() ? 0 : found->second;
}

stats_t statsOf(const QDomDocument &document, const std::vector<goal_t> &goals) {
  stats_t stats;
  stats.metrics = pos::metricsOf(document);
  const pos::metrics_t &metrics = stats.metrics;
  stats.unknown = metrics.total - metrics.proved - metrics.unreliablyProved - metrics.unproved -
                  metrics.disproved;
  for (const goal_t &goal : goals) {
    if (!goal.onlyProver)
      continue;
    ++stats.provedByOneDriver;
    ++stats.provedAlone[*goal.onlyProver];
  }
  return stats;
}
