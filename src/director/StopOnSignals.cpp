// After a stop the playing thread is given a moment to come back: its workers are joined then. It
// is not waited for longer, as it may hang in an output that nobody reads.

#include "director/StopOnSignals.h"

#include "director/ProofDirector.h"

#include <chrono>
#include <utility>

#include <unistd.h>

namespace kelvarune {

namespace {

constexpr std::chrono::milliseconds PATIENCE(200);

} // namespace

StopOnSignals::StopOnSignals(const std::vector<int> &numbers, std::function<int(int)> status)
    : statusOf(std::move(status)), waiting(numbers, [this](int number) { endProgram(number); }) {}

void StopOnSignals::setDirector(ProofDirector *playing) {
  std::unique_lock lock(mutex);
  if (!ending || !playing)
    director = playing;
  changed.notify_all();
  changed.wait(lock, [this] { return !ending; });
}

void StopOnSignals::endProgram(int number) {
  std::unique_lock lock(mutex);
  ending = true;
  if (director)
    director->stopAndCleanUp();
  changed.wait_for(lock, PATIENCE, [this] { return !director; });
  ::_exit(statusOf(number)); // threads may be at work still: no destructor is safe
}

} // namespace kelvarune
