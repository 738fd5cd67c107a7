// The end of the waiting is a signal, too: one of those that are awaited, sent to the waiting
// thread alone. That needs no descriptor, of which a program may have none left.

#include "process/StopSignals.h"

#include <system_error>
#include <utility>

#include <signal.h>

namespace kelvarune::process {

namespace {

sigset_t setOf(const std::vector<int> &numbers) {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : numbers)
    sigaddset(&set, number);
  return set;
}

} // namespace

StopSignals::StopSignals(std::vector<int> stopNumbers, action_t action)
    : numbers(std::move(stopNumbers)) {
  const sigset_t awaited = setOf(numbers);
  sigset_t previous;
  pthread_sigmask(SIG_BLOCK, &awaited, &previous);
  try {
    thread = std::thread([this, action = std::move(action)] { await(action); });
  } catch (const std::system_error &) {
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  }
}

StopSignals::~StopSignals() {
  if (!thread.joinable())
    return;
  ending = true;
  pthread_kill(thread.native_handle(), numbers.front());
  thread.join();
}

void StopSignals::await(const action_t &action) {
  const sigset_t awaited = setOf(numbers);
  int number = 0;
  while (sigwait(&awaited, &number) != 0) {
  }
  if (!ending)
    action(number);
}

} // namespace kelvarune::process
