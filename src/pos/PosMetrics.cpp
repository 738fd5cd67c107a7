// Counts what a POS file has stored, without judging it: statuses are taken as they stand. Each
// level has its own mapping from status to counter, since the levels do not count the same ones.

#include "pos/PosInternal.h"
#include "pos/pos.h"

#include <array>

namespace pos {

namespace {

template <typename Metrics>
Metrics &findOrCreate(std::map<std::string, std::unique_ptr<Metrics>> &records,
                      const QDomElement &element) {
  std::unique_ptr<Metrics> &record = records[element.attribute(ATTR_NAME).toStdString()];
  if (!record)
    record = std::make_unique<Metrics>();
  return *record;
}

/// The counter of each status, null where a level does not count it.
template <typename Metrics>
using counters_t = std::array<std::int32_t Metrics::*, 5>;

constexpr counters_t<metrics_t> GOALS = {&metrics_t::unproved, nullptr,
                                         &metrics_t::unreliablyProved, &metrics_t::proved,
                                         &metrics_t::disproved};

constexpr counters_t<mechanism_metrics_t> MECHANISMS = {
    &mechanism_metrics_t::unproved, &mechanism_metrics_t::unknown,
    &mechanism_metrics_t::unreliablyProved, &mechanism_metrics_t::proved,
    &mechanism_metrics_t::disproved};

constexpr counters_t<driver_metrics_t> DRIVERS = {
    &driver_metrics_t::unproved, &driver_metrics_t::unknown, nullptr, // unreliable ones: wanted
    &driver_metrics_t::proved, &driver_metrics_t::disproved};

template <typename Metrics>
void count(Metrics &metrics, const counters_t<Metrics> &counters, status_t status) {
  if (counters[status])
    ++(metrics.*counters[status]);
}

void countDrivers(mechanism_metrics_t &metrics, const QDomElement &mechanism) {
  for (const QDomElement &driver : xml::children(mechanism, TAG_DRIVER))
    count(findOrCreate(metrics.drivers, driver), DRIVERS, statusOf(driver));
}

void countGoal(metrics_t &metrics, const QDomElement &goal) {
  count(metrics, GOALS, statusOf(goal));
  ++metrics.total;
  if (isProvedProofState(proofStateOf(goal, ATTR_VALUE_UNPROVED)))
    ++metrics.provedByProofState;
  bool provedExternally = false;
  for (const QDomElement &mechanism : xml::children(goal, TAG_MECHANISM)) {
    mechanism_metrics_t &record = findOrCreate(metrics.mechanisms, mechanism);
    const status_t status = statusOf(mechanism);
    count(record, MECHANISMS, status);
    countDrivers(record, mechanism);
    provedExternally = provedExternally || status == PROVED;
  }
  metrics.provedExternally += provedExternally ? 1 : 0;
}

} // namespace

bool getMetrics(const std::string &path, metrics_t &metrics) {
  const QDomDocument document = domOfPath(path);
  if (document.isNull())
    return false;
  // What the component's own proof proved is not reset but added to, on purpose.
  const std::int32_t provedByProofState = metrics.provedByProofState;
  metrics = {};
  metrics.provedByProofState = provedByProofState;
  forEachGoal(document, [&metrics](const QDomElement &goal) { countGoal(metrics, goal); });
  return true;
}

} // namespace pos
