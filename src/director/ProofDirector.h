#ifndef KELVARUNE_DIRECTOR_PROOFDIRECTOR_H
#define KELVARUNE_DIRECTOR_PROOFDIRECTOR_H

#include "mechanism/Mechanism.h"
#include "pos/PosFile.h"
#include "pos/pos.h"
#include "process/StandardStreams.h"

#include <QDomDocument>
#include <QObject>
#include <QString>
#include <QStringList>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <iosfwd>
#include <list>
#include <mutex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

namespace kelvarune::process {
class ToolProcess;
}
class LineCursor;
class ReaderOutput;

/// The address of a simple goal: the index of its proof obligation in the director's data and its
/// index within that obligation, both from 0.
using address_t = std::pair<unsigned long, unsigned long>;

/// One list of addresses per proof obligation (exactly one list for a designated goal).
using selection_t = std::vector<std::vector<address_t>>;

/// What the director knows of one simple goal.
struct po_data_t {
  pos::status_t status; ///< the mechanism's own status for the goal
  QStringList drivers;  ///< names of the drivers that may still work on the goal
  QDomElement element;  ///< the goal's element of the mechanism, in the director's document
};

/// The goals of the component: per proof obligation, in document order, its tag and its goals.
using po_data_list_t = std::vector<std::pair<std::string, std::vector<po_data_t>>>;

/// One invocation of a driver's writer.
struct writer_data_t {
  std::filesystem::path cmd;
  QStringList args;
  QString po2filename;              ///< the file that the writer must create
  std::vector<address_t> positions; ///< the goals in the file, in the order of the -a arguments
};

/// One invocation of a driver's prover, piped into its reader.
struct prover_data_t {
  std::filesystem::path cmdp;
  QStringList argsp;
  std::filesystem::path cmdr;
  QStringList argsr;
  QString inpath;                   ///< the file that the writer of the same index made
  std::vector<address_t> addresses; ///< the goals whose verdicts the reader gives, in order
};

/// How far a driver pass has come; see ProofDirector::progress.
struct progress_t {
  QString driver;             ///< the driver played now, empty before the first
  unsigned long total = 0;    ///< entries of this pass
  unsigned long started = 0;  ///< entries that have been started
  unsigned long finished = 0; ///< entries that have ended, with or without a verdict
  unsigned long proved = 0;   ///< verdicts "Proved" of this pass
};

/// Replays one proof mechanism over one component.
///
/// The constructor reads the mechanism; `replay` or `play`, called once, loads the POS file, plays
/// the drivers and keeps the file current after every result. Results go to standard output, traces
/// (when the trace level is 1) and failures of tools to standard error.
///
/// Threads: one thread owns the director and calls its operations; `play` and `replay` start worker
/// threads of their own and join them. `stop`, `progress`, `hasErrors` and `errorMessages` may be
/// called from other threads meanwhile.
///
/// Errors: status texts and mechanism settings that do not exist raise std::out_of_range
/// ("map::at"), which nothing catches. Failures of tools are gathered, see `errorMessages`.
///
/// Always made with `new` and destroyed through a pointer; neither copied nor moved.
class ProofDirector : public QObject {
  Q_OBJECT

public:
  // ProofDirector.cpp: life, stopping

  /// Reads the mechanism description. `concurrency` is the number of entries that run at once; with
  /// 1 no worker thread is started. `driverFilter`, when not empty, names the only driver to play.
  /// `poFilter`, when not empty, designates one goal as "TAG.N", N from 1; its verdict and model
  /// are printed and its status stays. All strings are UTF-8.
  ProofDirector(const std::string &component, const std::string &mechanismFile,
                const std::string &posPath, const std::string &pogPath,
                const std::string &directory, const std::vector<std::string> &installDirs, bool xml,
                unsigned int concurrency, int trace, const std::string &driverFilter,
                const std::string &poFilter, bool markedDriversOnly);
  ~ProofDirector() override;
  ProofDirector(const ProofDirector &) = delete;
  ProofDirector &operator=(const ProofDirector &) = delete;

  /// Whether the mechanism description was read and all its tools were found.
  bool isLoaded() const { return loaded; }

  /// Whether some tool has failed so far.
  bool hasErrors() const { return !errorMessages().isEmpty(); }

  /// The failures of tools so far, one message each, in the order in which they came.
  QStringList errorMessages() const;

  std::string getMechanismName() const { return mechanism.name; }
  const mechanism::mechanism_t &getMechanism() const { return mechanism; }

  /// Emergency exit: kills the running provers and readers, removes the secondary files of the
  /// pass, saves the POS document as savePosFile does and ends what the killed tools had started.
  /// From then on no tool is started and no result is recorded.
  ///
  /// May be called from any thread, and from a signal handler that interrupts the owning thread
  /// where it waits (see kelvarune::process::stop_signals) or while it loads the POS file. Waits
  /// for no lock longer than a second; when the document cannot be had in that time the file keeps
  /// what was saved last and the result is false. Before the POS file is loaded it does nothing.
  bool stop();

  /// As stop, for a program that ends right after: also ends running writers, which are beyond the
  /// reach of `stop`, and so makes sure that no secondary file appears afterwards.
  void stopAndCleanUp();

  /// How far the current pass has come. A snapshot for display.
  progress_t progress() const;

  // Document.cpp: the POS document

  /// Loads the POS file and adds the mechanism to every goal that lacks it. True when the document
  /// changed; false also when the file cannot be read. At most one load per director.
  bool loadPosFile();

  /// Loads the POS file as it is. False when it cannot be read or some goal lacks the mechanism.
  bool reloadPosFile();

  /// Writes the document to the POS file, which must exist. False when that is not possible, and
  /// before a load has completed. Call without holding the director's locks.
  bool savePosFile();

  /// Records the verdict ("Proved", "Unknown" or "Disproved") of the current driver on a goal.
  /// Expects resultMutex held while workers run.
  void updateStatus(const address_t &address, const QString &verdict);

  const po_data_list_t &getPoData() const { return poData; }
  unsigned int getUnprovedCount() const { return unprovedCount; }

  // Selection.cpp: what a driver has to do

  /// Whether some goal still has a driver that may work on it.
  bool hasWork() const;

  /// Appends the current driver's goals to `selection`.
  void selectForDriver(selection_t &selection) const;

  /// Makes the writer entries for the selected goals. `directory` takes the secondary files.
  void produceWriterData(const QString &directory, const QString &pogPath,
                         const selection_t &selection);

  /// Makes the prover entries, one for each writer entry, whose addresses move there.
  void produceProverData();

  /// Makes `driver` the current one, as playing does for each driver in turn.
  void setCurrentDriver(const mechanism::driver_t &driver) { currentDriver = driver; }

  const std::vector<writer_data_t> &getWriterData() const { return writerData; }
  const std::vector<prover_data_t> &getProverData() const { return proverData; }

  // Writing.cpp: running writers

  /// Runs the writer of one entry. std::out_of_range when there is no such entry.
  void writeEntry(const unsigned long &index);

  /// Runs the writers of all entries that no worker has claimed yet.
  void writeJob();

  /// Deletes the secondary files of the current pass, as far as they exist.
  void removeSecondaryFiles() const;

  // Proving.cpp: running provers and readers

  /// Runs prover and reader of one entry and records their results. std::out_of_range when there is
  /// no such entry.
  void proveEntry(const unsigned long &index);

  /// Runs provers and readers of all entries that no worker has claimed yet.
  void proveJob();

  /// Runs all three tools of all entries that no worker has claimed yet.
  void writeAndProveJob();

  // Playing.cpp: from driver to driver

  /// Loads the POS file and plays the drivers again that have concluded on a goal before.
  void replay();

  /// Registers the mechanism in the POS file where it is missing and plays its drivers.
  void play();

  /// Plays the drivers on the loaded document.
  void playDrivers();

  // Dump.cpp: for debugging
  friend std::ostream &operator<<(std::ostream &stream, const ProofDirector &director);

private:
  // Playing.cpp
  std::string tagged(const char *tag, const std::string &text) const;
  void playCurrentDriver();
  void runEntries();
  void runWorkers();
  void startProgress();
  void countProgress(unsigned long progress_t::*counter);

  // Writing.cpp, Proving.cpp
  enum class job_t { WRITING, PROVING };
  bool claimEntry(job_t first, unsigned long &index);
  void traceWriting(unsigned long index) const;
  void traceProving(unsigned long index) const;
  bool runChain(const prover_data_t &entry, ReaderOutput &output);
  bool hasCrashed(const kelvarune::process::ToolProcess &tool, const std::string &line,
                  const QString &message);
  bool publish(const prover_data_t &entry, const ReaderOutput &output);
  void printResults();
  // These two expect resultMutex held:
  void openOperations(std::uint64_t obligation);
  std::string publishVerdict(const address_t &address, const QString &verdict, LineCursor &lines);

  // Document.cpp
  QDomElement mechanismElement(const QDomElement &goal) const;
  QDomElement registerMechanism(const QDomElement &goal);
  void prepareSaving();

  // ProofDirector.cpp
  void addError(const std::string &line, const QString &message);

  /// One line of a trace on standard error, written at once; nothing unless the trace level is 1.
  template <typename... Parts>
  void traceLine(const Parts &...parts) const {
    if (trace == 1)
      kelvarune::process::writeToStandardError(traceOf(parts...));
  }

  /// The text of such a line, empty unless the trace level is 1: for places that hold a lock.
  template <typename... Parts>
  std::string traceOf(const Parts &...parts) const {
    return trace == 1 ? lineOf("-- ProofDirector -- ", parts...) : std::string();
  }

  /// As traceLine for the lines of the worker loops, whose prefix is spelt with a blank (wanted).
  template <typename... Parts>
  void workerTraceLine(const Parts &...parts) const {
    if (trace == 1)
      kelvarune::process::writeToStandardError(lineOf("-- Proof Director -- ", parts...));
  }

  template <typename... Parts>
  static std::string lineOf(const Parts &...parts) {
    std::ostringstream line;
    (line << ... << parts) << '\n';
    return line.str();
  }

  bool loaded = false;
  mechanism::mechanism_t mechanism;
  QString driverFilter;
  QString poFilter;
  QString pos;
  QString pog;
  QString dir;
  bool xml;
  std::uint32_t concurrency;
  std::int32_t trace;
  bool markedDriversOnly;
  std::vector<std::string> installDirs;
  QDomDocument posDocument; // guarded by resultMutex while workers run
  pos::PosFile posFile;     // keeps the file of posDocument current; documentMutex is resultMutex
  std::string component;
  QStringList errors;                                     // guarded by errorsMutex
  std::list<kelvarune::process::ToolProcess *> processes; // guarded by processesMutex
  mutable std::mutex errorsMutex;
  std::list<std::string> secondaryFiles; // of the current pass; guarded by processesMutex
  mutable std::mutex processesMutex;
  std::uint64_t nextIndex = 0; // guarded by jobMutex
  std::mutex jobMutex;
  mechanism::driver_t currentDriver;
  std::uint64_t nextOperation = 0; // guarded by resultMutex
  std::ostringstream results;      // for standard output, not printed yet; guarded by resultMutex
  std::mutex printMutex;           // serialises the printing of results; taken before resultMutex
  std::uint32_t unprovedCount = 0; // guarded by resultMutex; wraps below 0 (wanted)
  std::mutex resultMutex;
  po_data_list_t poData; // its records guarded by resultMutex while workers run
  std::vector<writer_data_t> writerData;
  std::vector<prover_data_t> proverData;
  std::atomic<bool> stopping = false;

  // For display only.
  mutable std::mutex progressMutex;
  progress_t currentProgress; // guarded by progressMutex
};

std::ostream &operator<<(std::ostream &stream, const po_data_t &data);
std::ostream &operator<<(std::ostream &stream, const po_data_list_t &poData);
std::ostream &operator<<(std::ostream &stream, const writer_data_t &data);
std::ostream &operator<<(std::ostream &stream, const prover_data_t &data);

#endif
