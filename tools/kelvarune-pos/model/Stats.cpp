// The counts are the library's. What it does not count is added here: the goals with status
// "Unknown", which are what the other counters leave of the total, and the goals that hang on the
// proof of a single driver.

#include "model/Stats.h"

#include <memory>

namespace {

template <typename Metrics>
void addCounters(const Metrics &from, Metrics &to,
                 std::initializer_list<std::int32_t Metrics::*> counters) {
  for (std::int32_t Metrics::*counter : counters)
    to.*counter += from.*counter;
}

template <typename Metrics>
Metrics &recordOf(std::map<std::string, std::unique_ptr<Metrics>> &records,
                  const std::string &name) {
  std::unique_ptr<Metrics> &record = records[name];
  if (!record)
    record = std::make_unique<Metrics>();
  return *record;
}

void addMechanism(const pos::mechanism_metrics_t &from, pos::mechanism_metrics_t &to) {
  using mechanism_t = pos::mechanism_metrics_t;
  using driver_t = pos::driver_metrics_t;
  addCounters(from, to,
              {&mechanism_t::unproved, &mechanism_t::unknown, &mechanism_t::proved,
               &mechanism_t::unreliablyProved, &mechanism_t::disproved});
  for (const auto &[name, driver] : from.drivers)
    addCounters(*driver, recordOf(to.drivers, name),
                {&driver_t::unproved, &driver_t::unknown, &driver_t::proved, &driver_t::disproved});
}

} // namespace

int stats_t::provedAloneBy(const std::string &mechanism, const std::string &driver) const {
  const auto found =
      provedAlone.find({QString::fromStdString(mechanism), QString::fromStdString(driver)});
  return found == provedAlone.end() ? 0 : found->second;
}

void add(const stats_t &stats, stats_t &total) {
  using metrics_t = pos::metrics_t;
  addCounters(stats.metrics, total.metrics,
              {&metrics_t::total, &metrics_t::unproved, &metrics_t::proved,
               &metrics_t::unreliablyProved, &metrics_t::disproved, &metrics_t::provedExternally,
               &metrics_t::provedByProofState});
  for (const auto &[name, mechanism] : stats.metrics.mechanisms)
    addMechanism(*mechanism, recordOf(total.metrics.mechanisms, name));
  total.unknown += stats.unknown;
  total.provedByOneDriver += stats.provedByOneDriver;
  for (const auto &[driver, count] : stats.provedAlone)
    total.provedAlone[driver] += count;
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
