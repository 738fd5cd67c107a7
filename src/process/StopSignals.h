#ifndef KELVARUNE_PROCESS_STOPSIGNALS_H
#define KELVARUNE_PROCESS_STOPSIGNALS_H

#include <initializer_list>

#include <signal.h>

/// Where the signals that stop the program may interrupt it.
///
/// A handler that saves documents and kills processes needs locks and memory, so it must not run
/// while the interrupted thread holds either. The program's main thread therefore keeps the stop
/// signals blocked and lets them in only while it waits for a tool or for its workers, and in
/// stretches that it opens on purpose. All other threads keep them blocked for good.
namespace kelvarune::process::stop_signals {

/// Blocks `signals` in the calling thread, which becomes the one that lets them in when it waits.
/// Call once, before any other thread exists. Without this call nothing below has any effect.
void letInAtWaits(std::initializer_list<int> signals);

/// The mask with which the calling thread shall wait (see ppoll): with the stop signals let in on
/// the thread that called letInAtWaits, null (no change) on any other.
const sigset_t *waitMask();

/// While it lives the calling thread can be interrupted anywhere. For long stretches in which a
/// handler has nothing to save. No effect on other threads than the one of letInAtWaits.
class Open {
public:
  Open();
  ~Open();
  Open(const Open &) = delete;
  Open &operator=(const Open &) = delete;
};

/// While it lives every signal is blocked in the calling thread, and in the threads started
/// meanwhile for good.
class AllBlocked {
public:
  AllBlocked();
  ~AllBlocked();
  AllBlocked(const AllBlocked &) = delete;
  AllBlocked &operator=(const AllBlocked &) = delete;

private:
  sigset_t previous;
};

} // namespace kelvarune::process::stop_signals

#endif
