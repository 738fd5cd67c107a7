#ifndef KELVARUNE_PROCESS_SIGNALMASK_H
#define KELVARUNE_PROCESS_SIGNALMASK_H

#include <signal.h>

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

} // namespace kelvarune::process

#endif
