#ifndef KELVARUNE_HISTORY_PAST_H
#define KELVARUNE_HISTORY_PAST_H

#include "history/Records.h"

#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

/// What a history tells, in memory.
namespace history {

struct known_run_t : run_t {
  std::int64_t id = 0;
  std::optional<double> ended; ///< since 1970; nothing when it was killed, or is still at work
  std::optional<int> status;
  std::vector<std::size_t> drivers; ///< that it had, in the order in which they are played
  std::vector<prover_t> provers;    ///< that it ran; empty in histories of before it was noted
};

struct known_driver_t {
  QString mechanism;
  QString driver;
  QString trust; ///< of the mechanism in the last run that had it
};

struct known_goal_t {
  QString tag;
  int number = 0;
};

enum class outcome_t { NOT_COUNTED, UNKNOWN, PROVED, DISPROVED };

/// What one driver made of one goal in one run. An entry of several goals counts for each of them
/// with an equal share of its time.
struct play_t {
  std::int64_t entry = 0; ///< its number
  std::size_t run = 0;
  std::size_t driver = 0;
  std::size_t goal = 0;
  outcome_t outcome = outcome_t::NOT_COUNTED;
  double wall = 0;   ///< its share
  double cpu = 0;    ///< its share
  int goals = 1;     ///< of the entry
  double prover = 0; ///< wall clock of the entry's prover, all of it
  std::optional<double> timeLimit;
};

struct past_t {
  std::vector<known_run_t> runs; ///< in the order of their numbers
  std::vector<known_driver_t> drivers;
  std::vector<known_goal_t> goals;
  std::vector<play_t> plays; ///< in the order in which they were recorded
};

/// Reads the history at `path`. Raises Failure.
past_t readPast(const QString &path);

/// How each prover, told apart by its path, was noted last in the history at `path`; the latest
/// first. Raises Failure.
std::vector<prover_t> readLastProvers(const QString &path);

} // namespace history

#endif
