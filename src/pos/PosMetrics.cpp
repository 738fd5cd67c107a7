// Counts what a POS file has stored, without judging it: statuses are taken as they stand. Each
// level has its own mapping from status to counter, since the levels do not count the same ones.

#include "pos/PosInternal.h"
#include "pos/pos.h"

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

void count(metrics_t &metrics, status_t status) {
  ++metrics.total;
  switch (status) {
  case UNPROVED:
    ++metrics.unproved;
    break;
  case UNKNOWN: // Counts in the total only.
    break;
  case UNRELIABLY_PROVED:
    ++metrics.unreliablyProved;
    break;
  case PROVED:
    ++metrics.proved;
    break;
  case DISPROVED:
    ++metrics.disproved;
    break;
  }
}

void count(mechanism_metrics_t &metrics, status_t status) {
  switch (status) {
  case UNPROVED:
    ++metrics.unproved;
    break;
  case UNKNOWN:
    ++metrics.unknown;
    break;
  case UNRELIABLY_PROVED:
    ++metrics.unreliablyProved;
    break;
  case PROVED:
    ++metrics.proved;
    break;
  case DISPROVED:
    ++metrics.disproved;
    break;
  }
}

void count(driver_metrics_t &metrics, status_t status) {
  switch (status) {
  case UNPROVED:
    ++metrics.unproved;
    break;
  case UNKNOWN:
    ++metrics.unknown;
    break;
  case UNRELIABLY_PROVED: // Not counted, on purpose.
    break;
  case PROVED:
    ++metrics.proved;
    break;
  case DISPROVED:
    ++metrics.disproved;
    break;
  }
}

void countDrivers(mechanism_metrics_t &metrics, const QDomElement &mechanism) {
  for (const QDomElement &driver : xml::children(mechanism, TAG_DRIVER))
    count(findOrCreate(metrics.drivers, driver), statusOf(driver));
}

void countGoal(metrics_t &metrics, const QDomElement &goal) {
  count(metrics, statusOf(goal));
  if (isProvedProofState(proofStateOf(goal, ATTR_VALUE_UNPROVED)))
    ++metrics.provedByProofState;
  bool provedExternally = false;
  for (const QDomElement &mechanism : xml::children(goal, TAG_MECHANISM)) {
    mechanism_metrics_t &record = findOrCreate(metrics.mechanisms, mechanism);
    const status_t status = statusOf(mechanism);
    count(record, status);
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
