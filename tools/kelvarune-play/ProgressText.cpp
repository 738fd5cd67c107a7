// An estimate is given only once some entries have ended, and only for the driver being played:
// what is left for the next one depends on this one's results.

#include "ProgressText.h"

#include <algorithm>
#include <cmath>

using namespace kelvarune;

namespace {

constexpr unsigned long ENTRIES_BEFORE_ESTIMATE = 3;

// What the rest of a pass takes at its pace so far, but no less than the last result has been
// awaited: what is left in the end are the entries that take long.
double secondsLeft(const progress_t &progress, double elapsed, double waited) {
  const double perEntry = elapsed / static_cast<double>(progress.finished);
  return std::max(perEntry * static_cast<double>(progress.total - progress.finished), waited);
}

} // namespace

std::string durationText(double seconds) {
  const long whole = std::lround(std::ceil(seconds));
  if (whole < 60)
    return std::to_string(whole) + " s";
  if (whole < 3600)
    return std::to_string(whole / 60) + " min " + std::to_string(whole % 60) + " s";
  return std::to_string(whole / 3600) + " h " + std::to_string(whole / 60 % 60) + " min";
}

std::string ProgressText::now() {
  follow(director.progress());
  return progress.driver.isEmpty() ? std::string() : text();
}

void ProgressText::follow(const progress_t &now) {
  lastEnd = now.finished == progress.finished ? lastEnd : steady_t::now();
  if (now.driver != progress.driver || now.finished < progress.finished)
    passStart = lastEnd = steady_t::now();
  progress = now;
}

std::string ProgressText::text() const {
  const std::chrono::duration<double> elapsed = steady_t::now() - passStart;
  const std::chrono::duration<double> waited = steady_t::now() - lastEnd;
  const std::string driver = progress.driver.toStdString();
  std::string line = driver + ": " + std::to_string(progress.finished) + "/" +
                     std::to_string(progress.total) + ", " + std::to_string(progress.proved) +
                     " proved, " + std::to_string(progress.started - progress.finished) +
                     " running, " + durationText(elapsed.count()) + " elapsed";
  if (progress.finished >= ENTRIES_BEFORE_ESTIMATE && progress.finished < progress.total)
    line += ", about " + durationText(secondsLeft(progress, elapsed.count(), waited.count())) +
            " left for " + driver;
  return line;
}
