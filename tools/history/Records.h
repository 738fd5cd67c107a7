#ifndef KELVARUNE_HISTORY_RECORDS_H
#define KELVARUNE_HISTORY_RECORDS_H

#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What a history holds of a run and its entries. Plain values; times are seconds.
namespace history {

struct run_t {
  double started = 0; ///< since 1970
  QString host;
  QString program; ///< with its version
  int jobs = 1;
  QString command; ///< for a shell
};

/// A mechanism that a run plays.
struct mechanism_t {
  QString name;
  QString path;
  QString digest; ///< of the description: SHA-256, in hexadecimal
  QString trust;
  QStringList drivers; ///< in the order of the description
};

/// How a tool went. `end` is "normal" (exit status 0), "status", "signal", "time limit", "memory
/// limit", "not started", "not run", or "abandoned" when its prover crashed.
struct tool_t {
  double wall = 0;
  double cpu = 0;
  std::int64_t peak = 0; ///< memory in bytes
  bool peakIsBound = false;
  QString end;
  int number = 0; ///< exit status, signal or errno value
};

/// A prover that has run: a program, or what one of ours that stands before it runs.
struct prover_t {
  QString name;    ///< of its file
  QString path;    ///< as it is run
  QString version; ///< as it tells it; null when it tells none
  QString digest;  ///< of its file when it tells no version: SHA-256, in hexadecimal; else null
  QString stamp;   ///< the file itself, its size and its time: while it is the same nothing changed
};

/// "4.8.12" of "Z3 version 4.8.12 - 64 bit", the first digits of a digest; or the version's text.
QString shortVersion(const prover_t &prover);

/// One line on how a prover differs from what it was before; empty when it does not.
QString changeOf(const prover_t &before, const prover_t &now);

struct verdict_t {
  QString tag;
  int number = 0;
  QString verdict; ///< null when it does not count
};

struct entry_t {
  QString mechanism;
  QString driver;
  std::vector<verdict_t> verdicts;
  double started = 0; ///< since 1970
  double wall = 0;    ///< that the tools took, waiting for each other left out
  double cpu = 0;
  std::optional<double> timeLimit; ///< of the prover
  QString loss;                    ///< why no verdict counts, null when they do
  tool_t writer;
  tool_t prover;
  tool_t reader;
  QString output; ///< the prover's last lines, null where everything was proved
  QString errors; ///< the last lines of standard error, likewise
};

/// What is written at one go.
struct batch_t {
  std::vector<mechanism_t> mechanisms;
  std::vector<prover_t> provers;
  std::vector<entry_t> entries;

  bool isEmpty() const { return mechanisms.empty() && provers.empty() && entries.empty(); }
};

/// The history of the status file at `posPath`, unless another one is named: "comp.history" beside
/// "comp.pos".
QString pathBeside(const QString &posPath);

} // namespace history

#endif
