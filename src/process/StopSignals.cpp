// The mask of the waits is computed once: what the main thread had blocked before, without the stop
// signals. It is only read afterwards.

#include "process/StopSignals.h"

namespace kelvarune::process::stop_signals {

namespace {

sigset_t stopSignals;
sigset_t maskOfWaits;
thread_local bool letsIn = false;

} // namespace

void letInAtWaits(std::initializer_list<int> signals) {
  sigemptyset(&stopSignals);
  for (const int signal : signals)
    sigaddset(&stopSignals, signal);
  pthread_sigmask(SIG_BLOCK, &stopSignals, &maskOfWaits);
  for (const int signal : signals)
    sigdelset(&maskOfWaits, signal);
  letsIn = true;
}

const sigset_t *waitMask() {
  return letsIn ? &maskOfWaits : nullptr;
}

Open::Open() {
  if (letsIn)
    pthread_sigmask(SIG_UNBLOCK, &stopSignals, nullptr);
}

Open::~Open() {
  if (letsIn)
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
}

AllBlocked::AllBlocked() {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &previous);
}

AllBlocked::~AllBlocked() {
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

} // namespace kelvarune::process::stop_signals
