// A stop that looked at the running tools alone would miss those that are just starting, and with
// them what they start. So it first shuts the gate and waits until everybody is through.

#include "director/RunningTools.h"

#include <chrono>
#include <thread>

using namespace kelvarune;
using process::sessions::session_t;

namespace {

constexpr std::chrono::seconds PATIENCE(1);
constexpr std::chrono::milliseconds RETRY_INTERVAL(1);

} // namespace

void RunningTools::close() {
  closed = true;
  const auto deadline = std::chrono::steady_clock::now() + PATIENCE;
  while (!gate.try_lock()) {
    if (std::chrono::steady_clock::now() >= deadline)
      return;
    std::this_thread::sleep_for(RETRY_INTERVAL);
  }
  gate.unlock();
}

std::vector<session_t> RunningTools::kill() {
  std::vector<session_t> sessions;
  const std::lock_guard lock(mutex);
  for (process::ToolProcess *process : processes) {
    sessions.push_back({process->session()});
    process->kill();
  }
  return sessions;
}

void RunningTools::endAll() const {
  process::sessions::end(process::sessions::of(this));
}
