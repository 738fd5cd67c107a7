#ifndef KELVARUNE_PROCESS_SIGNALMASK_H
#define KELVARUNE_PROCESS_SIGNALMASK_H

#include <signal.h>
#include <time.h>

namespace kelvarune::process {

/// While it lives every signal is blocked in the calling thread, and for good in the threads that
/// are started meanwhile: handlers of the program never run there.
class AllSignalsBlocked {
public:
  AllSignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &previous);
  }
  ~AllSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &previous, nullptr); }
  AllSignalsBlocked(const AllSignalsBlocked &) = delete;
  AllSignalsBlocked &operator=(const AllSignalsBlocked &) = delete;

private:
  sigset_t previous;
};

/// While it lives a write to a pipe that nobody reads gives the calling thread an error and no
/// signal.
class NoPipeSignal {
public:
  NoPipeSignal() {
    sigset_t pending;
    sigpending(&pending);
    wasPending = sigismember(&pending, SIGPIPE) == 1;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, &previous);
  }
  ~NoPipeSignal() {
    const timespec atOnce = {};
    if (!wasPending)
      sigtimedwait(&pipe, nullptr, &atOnce);
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  }
  NoPipeSignal(const NoPipeSignal &) = delete;
  NoPipeSignal &operator=(const NoPipeSignal &) = delete;

private:
  bool wasPending;
  sigset_t pipe;
  sigset_t previous;
};

} // namespace kelvarune::process

#endif
