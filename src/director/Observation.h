#ifndef KELVARUNE_DIRECTOR_OBSERVATION_H
#define KELVARUNE_DIRECTOR_OBSERVATION_H

#include "director/ProofData.h"
#include "mechanism/Mechanism.h"
#include "pos/Goals.h"
#include "process/Excerpt.h"

#include <QString>
#include <QStringList>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <vector>

/// What a director says of each entry that has ended, to whoever wants to know; see
/// ProofDirector::setObserver. Plain values.

namespace kelvarune {

/// How one run of a tool went.
struct tool_record_t {
  enum class end_t {
    NOT_RUN,     ///< nobody tried to start it
    NOT_STARTED, ///< it could not be started; `number` is an errno value, 0 when that is not known
    EXITED,      ///< by itself; `number` is the exit status
    SIGNALLED,   ///< `number` is the signal that ended it
    ABANDONED    ///< it was started and then killed by the director: its prover had crashed
  };

  std::filesystem::path program;
  QStringList arguments; ///< without the program
  end_t end = end_t::NOT_RUN;
  int number = 0;
  std::chrono::system_clock::time_point start;
  std::chrono::microseconds wall = {};
  /// Processor time of the tool and of what it has started and waited for.
  std::chrono::microseconds user = {};
  std::chrono::microseconds system = {};
  /// The most memory in bytes that the tool, or something that it has started and waited for, had
  /// resident at a time. The system counts from the moment before the program is run, when the
  /// process still is a copy of this program: where the figure would be less than this program's
  /// own, it is this program's own and `peakIsBound` is true.
  std::uint64_t peakMemory = 0;
  bool peakIsBound = false;
  process::Excerpt standardError; ///< the last 4,096 bytes
};

/// Why the verdicts of an entry do not count.
enum class loss_t {
  NONE,         ///< they count
  CRASH,        ///< the prover or the reader was ended by a signal
  RESULT_COUNT, ///< the reader did not print one line for each goal
  NO_ROOM,      ///< the system had no room for another process or no descriptors
};

/// One entry: a writer, prover and reader that ran for a driver, and what came of it.
struct entry_record_t {
  QString mechanism;
  QString driver;
  std::vector<address_t> addresses;    ///< of the goals of this entry
  std::vector<pos::goal_name_t> goals; ///< their names, in the same order
  QString secondaryFile;
  bool secondaryFileWritten = false; ///< it existed when the writer had ended
  mechanism::input_t input = mechanism::input_t::STDIN;
  tool_record_t writer;
  tool_record_t prover;
  tool_record_t reader;
  process::Excerpt proverOutput; ///< the reader's input, where asked for: 4,096 bytes at both ends
  process::Excerpt readerOutput; ///< 4,096 bytes at both ends
  unsigned long resultCount = 0; ///< lines that the reader printed, 1 when it printed nothing
  /// One for each goal: "Proved", "Unknown", "Disproved", or a null string where the reader's line
  /// is none of them. Empty where `loss` says that none counts.
  QStringList verdicts;
  loss_t loss = loss_t::NONE;
};

/// Takes the record of an entry. It is called on the thread that ran the entry, so with several
/// jobs by several threads at a time, when the results have been recorded and saved; the director
/// holds no lock. What it takes is time of that job. It may call what any thread may call, `stop`
/// too, and must not raise an exception.
using observer_t = std::function<void(const entry_record_t &)>;

/// What an observer gets beside the rest.
enum class watch_t {
  TOOLS,        ///< all but `proverOutput`
  PROVER_OUTPUT ///< that as well; it then passes through this program on its way to the reader
};

/// What a play does beyond, or instead of, what is said at ProofDirector. All is off by default.
struct play_choice_t {
  /// Only these goals are played, each in an entry of its own whatever the driver's group; names
  /// that the POS file lacks are left out. Empty: all goals.
  std::vector<pos::goal_name_t> goals;
  /// When false the POS file is not touched, not even to register. Together with `goals` they are
  /// then played as one designated goal is: by all drivers whatever their statuses, the writer is
  /// asked for a model (-m), and lines after the verdict are printed as one.
  bool record = true;
  /// Only the part number `shard`, from 0, of `shards` equal ones is played: each takes every
  /// `shards`-th goal of the file. The same goals for every mechanism and driver.
  unsigned int shard = 0;
  unsigned int shards = 1;
  /// Drivers of the mechanism that a goal's element lacks are added to it, unproved, at their place
  /// in the description, and also play goals that the others have left open. Not in a replay.
  bool addDrivers = false;
  /// Drivers whose verdict on an open goal is "Unknown" play it again. Nothing is reset before
  /// they say something else. Not in a replay.
  bool retry = false;
  /// Put before each prover: a program and its first arguments, then come the prover and its own.
  /// "${file}" in an argument is the secondary file; where the prover gets that on its standard
  /// input, such an argument is left out.
  QStringList proverWrapper;
  /// Secondary files stay.
  bool keepSecondaryFiles = false;
  /// Failures of tools are not reported on standard error one by one; the records and errorMessages
  /// have them all.
  bool quiet = false;
};

} // namespace kelvarune

#endif
