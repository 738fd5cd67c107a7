#ifndef KELVARUNE_PROCESS_STOPSIGNALS_H
#define KELVARUNE_PROCESS_STOPSIGNALS_H

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

namespace kelvarune::process {

/// Waits for the signals that stop a program, in a thread of its own.
///
/// What stopping takes (locks, memory, files) is beyond what a signal handler may do. Here it is
/// ordinary code: a thread takes the signals with sigwait, and every other thread keeps them
/// blocked, so nothing is ever interrupted.
class StopSignals {
public:
  using action_t = std::function<void(int number)>;

  /// Blocks the signals `numbers` in the calling thread, and thereby in all threads that it starts
  /// from now on; so call this before any other thread exists. The first of them that comes calls
  /// `action`, once, on the waiting thread; those that follow have no effect. Where the system
  /// allows no more threads, the signals keep the effect that they had.
  StopSignals(std::vector<int> numbers, action_t action);

  /// Ends the waiting; an action that is under way is awaited. The signals stay blocked.
  ~StopSignals();

  StopSignals(const StopSignals &) = delete;
  StopSignals &operator=(const StopSignals &) = delete;

private:
  void await(const action_t &action);

  std::vector<int> numbers;
  std::atomic<bool> ending = false;
  std::thread thread;
};

} // namespace kelvarune::process

#endif
