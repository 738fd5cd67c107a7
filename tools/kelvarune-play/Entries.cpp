// Records come from the workers, as they end. What takes time, the texts and files, is made outside
// of the lock.

#include "Entries.h"

#include "Explanation.h"
#include "text/Literals.h"

#include <algorithm>
#include <tuple>

using namespace kelvarune;

namespace {

bool isAllProved(const entry_record_t &record) {
  return !record.verdicts.isEmpty() &&
         record.verdicts.count(pos::ATTR_VALUE_PROVED) == static_cast<int>(record.goals.size());
}

} // namespace

Entries::Entries(const play_options_t &options) : options(options), logs(options.log) {}

bool Entries::take(const entry_record_t &record) {
  const std::optional<cause_t> cause = causeOf(record);
  const bool isLogged = !options.log.isEmpty() && !isAllProved(record);
  const bool isUnwritten = isLogged && !logs.write(record, explanationOf(record, medium_t::FILE));
  const QString text = options.explain ? explanationOf(record, medium_t::SCREEN) : QString();

  const QString driver = driverOf(record);
  const std::lock_guard lock(mutex);
  summaryOfAll.add(driver, cause);
  ++endedByDriver[driver];
  unwrittenLogs += isUnwritten ? 1 : 0;
  if (options.explain)
    explanations.push_back(
        {driver, record.addresses.empty() ? address_t() : record.addresses[0], text});
  return countFailure(cause && cause->failed, record.verdicts.contains(pos::ATTR_VALUE_DISPROVED));
}

// Expects the mutex held.
bool Entries::countFailure(bool failed, bool disproved) {
  someFailed = someFailed || failed;
  failures += failed || disproved ? 1 : 0;
  if (over || options.stopAfter == 0 || failures < options.stopAfter)
    return false;
  over = true;
  return true;
}

unsigned long Entries::ended(const QString &driver) const {
  const std::lock_guard lock(mutex);
  const auto found = endedByDriver.find(driver);
  return found == endedByDriver.end() ? 0 : found->second;
}

unsigned long Entries::ended() const {
  const std::lock_guard lock(mutex);
  unsigned long all = 0;
  for (const auto &[driver, number] : endedByDriver)
    all += number;
  return all;
}

QString Entries::takeExplanations(const QStringList &drivers) {
  std::vector<explanation_t> taken;
  {
    const std::lock_guard lock(mutex);
    taken.swap(explanations);
  }
  std::sort(taken.begin(), taken.end(), [&](const explanation_t &a, const explanation_t &b) {
    return std::make_tuple(drivers.indexOf(a.driver), a.address) <
           std::make_tuple(drivers.indexOf(b.driver), b.address);
  });
  QString text;
  for (const explanation_t &explanation : taken)
    text += explanation.text + QLatin1Char('\n');
  return text;
}

QStringList Entries::summary() const {
  const std::lock_guard lock(mutex);
  QStringList lines = summaryOfAll.lines();
  if (unwrittenLogs > 0)
    lines << "%1: %2 of the logs could not be written."_s.arg(options.log,
                                                              QString::number(unwrittenLogs));
  return lines;
}

bool Entries::hasFailures() const {
  const std::lock_guard lock(mutex);
  return someFailed || unwrittenLogs > 0;
}

bool Entries::isOver() const {
  const std::lock_guard lock(mutex);
  return over;
}
