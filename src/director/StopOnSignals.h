#ifndef KELVARUNE_DIRECTOR_STOPONSIGNALS_H
#define KELVARUNE_DIRECTOR_STOPONSIGNALS_H

#include "process/StopSignals.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

class ProofDirector;

namespace kelvarune {

/// Ends the program in order when a signal asks for it: stops the director that plays, so that
/// everything proved is saved and no tool survives, and exits.
class StopOnSignals {
public:
  /// `numbers` are the signals. `statusOf` gives the exit status for one; it is called last, on the
  /// thread that waits for the signals, when nothing plays any more or the playing thread hangs in
  /// an output that nobody reads. Call before any other thread exists, see process::StopSignals.
  StopOnSignals(const std::vector<int> &numbers, std::function<int(int number)> statusOf);

  /// Names the director that is about to play; null when it has ended and may be destroyed. Does
  /// not return once a signal has come. Any thread.
  void setDirector(ProofDirector *director);

private:
  [[noreturn]] void endProgram(int number);

  std::function<int(int)> statusOf;
  std::mutex mutex; // guards what follows
  std::condition_variable changed;
  ProofDirector *director = nullptr;
  bool ending = false;
  process::StopSignals waiting; // last, so that it ends first
};

} // namespace kelvarune

#endif
