#ifndef KELVARUNE_DIRECTOR_PROOFDIRECTOR_H
#define KELVARUNE_DIRECTOR_PROOFDIRECTOR_H

#include "director/Observation.h"
#include "director/ProofData.h"
#include "mechanism/Mechanism.h"

#include <QDomDocument>
#include <QObject>

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>

namespace kelvarune {
class JobSlots;
}
namespace kelvarune::file {
class Descriptor;
struct pipe_t;
} // namespace kelvarune::file

class LineCursor;
class ReaderOutput;
class RunningTool;
class ToolWatch;
struct director_parts_t;

/// Replays one proof mechanism over one component.
///
/// The constructor reads the mechanism; `replay` or `play`, called once, loads the POS file, plays
/// the drivers and keeps the file current after every result. Results go to standard output, traces
/// (when the trace level is 1) and failures to standard error. A director loads once: a further
/// load, also after one that failed, gives false, and a further `play` or `replay` plays nothing.
///
/// Threads: one thread owns the director and calls its operations; `play` and `replay` start worker
/// threads of their own and join them. `stop`, `stopAndCleanUp`, `progress`, `hasErrors` and
/// `errorMessages` may be called from any thread at any time. None may be called from a signal
/// handler: a program that is to stop on a signal has a thread wait for it
/// (kelvarune::StopOnSignals does), or lets its handler wake one, for instance by writing to a
/// pipe.
///
/// Errors: status texts and mechanism settings that do not exist raise std::out_of_range
/// ("map::at"), which nothing catches. Failures are gathered, see `errorMessages`.
///
/// Always made with `new`, destroyed through a pointer, neither copied nor moved.
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

  /// What to do beyond the rules above. Before the load; by the owner.
  void choose(const kelvarune::play_choice_t &choice);

  /// From now on `observer` gets a record of each entry that ends, but for those that a stop cuts
  /// short. Without an observer nothing is measured. Before the load; by the owner.
  void setObserver(kelvarune::observer_t observer,
                   kelvarune::watch_t watch = kelvarune::watch_t::TOOLS);

  /// From now on each entry takes a slot of `slots`, so that as many run at once as there are
  /// slots, at most `concurrency`. Nothing holds a slot between the drivers. With a `concurrency`
  /// of 1 none is asked for. `slots` must outlive the director. Before the load; by the owner.
  void setJobSlots(kelvarune::JobSlots &slots);

  /// With how many workers the play went on at least: fewer than were asked for when the system has
  /// no more threads or processes. Any thread.
  unsigned int leastConcurrency() const;

  /// Whether the mechanism description was read and all its tools were found.
  bool isLoaded() const { return loaded; }
  std::string getMechanismName() const { return mechanism.name; }
  const mechanism::mechanism_t &getMechanism() const { return mechanism; }

  /// The failures of tools and saves so far, one message each, in the order in which they came.
  QStringList errorMessages() const;
  bool hasErrors() const { return !errorMessages().isEmpty(); }

  /// Ends the play: kills the running provers and readers with what they have started, removes the
  /// secondary files of the pass and saves the POS document as savePosFile does. From then on, at
  /// whatever moment of a play, no tool is started and no result is recorded, and the play returns
  /// as soon as the writers that still run have ended.
  ///
  /// True when the file then holds everything that was recorded. False before a load has completed,
  /// and when the file cannot be written or the document cannot be had within a second, as while it
  /// is serialised for the first time (0.3 s at 10,000 goals); the file keeps what was saved last.
  bool stop();

  /// As stop, and also ends running writers and what ended tools of this director left running: for
  /// a program that ends right after, so that no secondary file appears afterwards.
  bool stopAndCleanUp();

  /// How far the current pass has come. A snapshot for display.
  kelvarune::progress_t progress() const;

  // Document.cpp: the POS document
  /// Loads the POS file and adds the mechanism to every goal that lacks it. True when the document
  /// changed; false also when the file cannot be read.
  bool loadPosFile();
  /// Loads the POS file as it is. False when it cannot be read or some goal lacks the mechanism.
  bool reloadPosFile();

  /// Writes the document to the POS file, which must exist. False when that is not possible, and
  /// unless a load has succeeded. Call without holding the director's locks.
  ///
  /// What is written are the statuses that were recorded (updateStatus). What a caller changes
  /// through po_data_t::element is written when it was changed before the first save, and later
  /// only together with a verdict on the same goal.
  bool savePosFile();

  /// Records the verdict ("Proved", "Unknown" or "Disproved") of the current driver on a goal.
  /// Expects resultMutex held while workers run.
  void updateStatus(const kelvarune::address_t &address, const QString &verdict);

  const po_data_list_t &getPoData() const { return poData; }
  unsigned int getUnprovedCount() const { return unprovedCount; }

  // Selection.cpp: what a driver has to do
  /// Whether some goal still has a driver that may work on it.
  bool hasWork() const;
  /// Appends the current driver's goals to `selection`.
  void selectForDriver(kelvarune::selection_t &selection) const;
  /// Makes the writer entries for the selected goals. `directory` takes the secondary files.
  void produceWriterData(const QString &directory, const QString &pogPath,
                         const kelvarune::selection_t &selection);
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
  /// Runs prover and reader of one entry and records their results. Raises as writeEntry.
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

  friend std::ostream &operator<<(std::ostream &stream, const ProofDirector &director); // Dump.cpp

private:
  // Playing.cpp
  void playCurrentDriver();
  void runEntries();
  void runWorkers();

  // Writing.cpp, Proving.cpp
  enum class job_t { WRITING, PROVING };
  bool claimEntry(job_t first, unsigned long &index);
  bool hasEntry();
  bool takeEntry(unsigned long &index);
  bool takeSlotAndEntry(unsigned long &index);
  void traceProving(unsigned long index) const;
  bool runEntry(unsigned long index);
  bool startTool(ToolWatch &watch, RunningTool &tool, const std::filesystem::path &program,
                 const QStringList &arguments, int standardInput, int standardOutput) const;
  bool waitForRoom(std::chrono::steady_clock::time_point since) const;
  kelvarune::file::pipe_t makePipe() const;
  kelvarune::file::Descriptor openInput(const QString &path) const;
  kelvarune::entry_record_t *describeEntry(unsigned long index) const;
  kelvarune::loss_t runChain(const prover_data_t &entry, ReaderOutput &output,
                             kelvarune::entry_record_t *record);
  kelvarune::loss_t addNoRoom();
  void addCrash(const std::string &line, const QString &message);
  void conclude(const prover_data_t &entry, const ReaderOutput &output);
  void addOutcome(kelvarune::entry_record_t &record, kelvarune::loss_t loss,
                  const ReaderOutput &output) const;
  bool publish(const prover_data_t &entry, const ReaderOutput &output);
  std::string publishVerdict(const kelvarune::address_t &address, const QString &verdict,
                             LineCursor &lines); // expects resultMutex held

  // Document.cpp
  bool acceptRegistering();
  bool acceptRegistered();
  void dropOtherShards();
  bool isDesignated() const;
  std::set<kelvarune::address_t> chosenGoals() const;
  QStringList addMissingDrivers(QDomElement element);
  void offerBeyondRules(QDomElement goal, const QStringList &added,
                        const kelvarune::address_t &address, po_data_t &data);
  QDomElement mechanismElement(const QDomElement &goal) const;
  QDomElement registerMechanism(const QDomElement &goal);

  // ProofDirector.cpp
  void addError(const std::string &line, const QString &message);
  std::string takeFailedSave();

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
  std::string component;
  QDomDocument posDocument; // this and the next three guarded by resultMutex while workers run
  po_data_list_t poData;
  std::uint32_t unprovedCount = 0; // wraps below 0 (wanted)
  bool documentChanged = false;    // by registering
  std::mutex resultMutex;
  std::uint64_t nextIndex = 0; // guarded by jobMutex
  std::mutex jobMutex;
  mechanism::driver_t currentDriver; // this and the next two are constant while workers run
  std::vector<writer_data_t> writerData;
  std::vector<prover_data_t> proverData;
  std::unique_ptr<director_parts_t> parts; // also says in which order locks are taken
};

#endif
