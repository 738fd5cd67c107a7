// Counts what a POS file has stored, without judging it: statuses are taken as they stand. Each
// level has its own mapping from status to counter, since the levels do not count the same ones.
//
// One counter serves files, which are read without building a document, and documents.

#include "pos/PosInternal.h"
#include "pos/pos.h"

#include <array>
#include <functional>
#include <utility>

using namespace kelvarune;

namespace pos {

namespace {

template <typename Metrics, typename Element>
Metrics &findOrCreate(std::map<std::string, std::unique_ptr<Metrics>> &records,
                      const Element &element) {
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

/// Counts the parts of one document as they are met. An element is a QDomElement or a start tag.
class Counter {
public:
  template <typename Element>
  void operator()(part_t part, const Element &element) {
    switch (part) {
    case part_t::GOAL:
      count(metrics, GOALS, statusOf(element));
      ++metrics.total;
      hasProofState = isProvedExternally = false;
      break;
    case part_t::PROOF_STATE:
      if (!std::exchange(hasProofState, true))
        metrics.provedByProofState +=
            isProvedProofState(element.attribute(ATTR_PROOF_STATE, ATTR_VALUE_UNPROVED)) ? 1 : 0;
      break;
    case part_t::MECHANISM:
      countMechanism(element);
      break;
    case part_t::DRIVER:
      if (!mechanism)
        break; // cannot be: drivers are parts of mechanisms only
      count(findOrCreate(mechanism->drivers, element), DRIVERS, statusOf(element));
      break;
    default:
      break; // has nothing to count
    }
  }

  metrics_t metrics;

private:
  template <typename Element>
  void countMechanism(const Element &element) {
    mechanism = &findOrCreate(metrics.mechanisms, element);
    const status_t status = statusOf(element);
    count(*mechanism, MECHANISMS, status);
    if (status == PROVED && !std::exchange(isProvedExternally, true))
      ++metrics.provedExternally;
  }

  mechanism_metrics_t *mechanism = nullptr; // the last one met
  bool hasProofState = false;               // as the next: in the last goal met
  bool isProvedExternally = false;
};

} // namespace

metrics_t metricsOf(const QDomDocument &document) {
  Counter counter;
  visitParts(document, part_t::DOCUMENT, std::ref(counter));
  return std::move(counter.metrics);
}

bool getMetrics(const std::string &path, metrics_t &metrics) {
  Counter counter;
  const xml::read_result_t result = visitPartsOfFile(path, std::ref(counter));
  if (!result.readable)
    return false;
  metrics_t found = result.wellFormed ? std::move(counter.metrics) : metrics_t();
  // What the component's own proof proved is not reset but added to, on purpose.
  found.provedByProofState += metrics.provedByProofState;
  metrics = std::move(found);
  return true;
}

} // namespace pos
