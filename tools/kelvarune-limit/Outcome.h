#ifndef KELVARUNE_LIMIT_OUTCOME_H
#define KELVARUNE_LIMIT_OUTCOME_H

#include "kelvarune-limit/Options.h"

#include <QByteArray>
#include <QString>

#include <chrono>
#include <cstdint>

namespace limit {

/// How a prover ended.
enum class end_t : int {
  EXITED,      ///< by itself; the number is its exit status
  SIGNALLED,   ///< by a signal of others; the number is that signal
  NOT_STARTED, ///< the number is an errno value, 0 when the system has no room for it
  STOPPED,     ///< because the wrapper was to end; the number is the signal that asked for it
  TIME_LIMIT,
  PROCESSOR_LIMIT,
  MEMORY_LIMIT
};

/// What came of a run, also for what the prover had started. Goes through a pipe as it is.
struct outcome_t {
  end_t end = end_t::NOT_STARTED;
  int number = 0;
  std::chrono::microseconds wall = {};
  std::chrono::microseconds user = {};
  std::chrono::microseconds system = {};
  std::uint64_t peakMemory = 0;
  bool allGone = true; ///< false when some process could not be killed
};

/// What to tell on standard error, a line without its end; empty for nothing.
QString messageFor(const outcome_t &outcome, const options_t &options);

/// The outcome as JSON.
QByteArray reportOf(const outcome_t &outcome, const options_t &options);

/// Ends this process as the outcome says.
[[noreturn]] void endAs(const outcome_t &outcome);

} // namespace limit

#endif
