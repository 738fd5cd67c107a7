#ifndef KELVARUNE_POS_POSFILE_H
#define KELVARUNE_POS_POSFILE_H

#include "file/FileReplacer.h"
#include "pos/GoalBytes.h"

#include <QDomDocument>
#include <QString>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <string>

namespace pos {

/// A POS document and the file it came from, which is kept current cheaply and never damaged.
///
/// Each save replaces the whole file (see file::FileReplacer) by the bytes that QDomDocument::save
/// with XML_INDENT gives, which are kept goal by goal (see GoalBytes).
///
/// Threads: the document and `goalChanged` are guarded by a mutex of the owner, which passes it to
/// the functions that need it; these may be called by several threads at once and must be called
/// without holding it. They hold it only to collect the bytes, not while they write. When several
/// threads want to save, one write serves all those that asked before it collected.
///
/// Lock order: the lock for writing in here, then the document's mutex.
class PosFile {
public:
  explicit PosFile(QString path);

  /// Reads the file into `document`, which shares its nodes with this object from then on, and lets
  /// `accept` take from it what the owner wants and change it at will. Only when that is done, and
  /// was right, is there something to save: until then, and for good when the file could not be
  /// read, `accept` gave false or raised an exception, saving does nothing and gives false.
  ///
  /// Errors of the XML are ignored; the document is then read as far as it goes, and the first save
  /// keeps the file's bytes under its name followed by "~". One load per object: any further one
  /// gives false and does nothing.
  bool load(QDomDocument &document, const std::function<bool()> &accept);

  /// From now on nothing is written and every save is one that went well. Before the load.
  void leaveAsItIs() { readOnly = true; }

  /// Whether a load has been tried.
  bool hasBeenLoaded() const { return loading; }

  /// Serialises the whole document ahead of the first save, which is the long part of that.
  void prepare(std::mutex &documentMutex);

  /// Notes that attributes of goal `goal` of proof obligation `obligation` (indexes as in the
  /// document, from 0), or of elements in it, got other values. All other changes of the document
  /// must be made before it is prepared or first saved.
  void goalChanged(std::size_t obligation, std::size_t goal) {
    bytes.goalChanged(obligation, goal);
  }

  /// A mark for the document as it is now; see saveUpTo. Any thread, after its changes were made
  /// under the document's mutex.
  quint64 ticket() { return ++issued; }

  /// Returns when the file holds the document as it was at `ticket`, or a later state of it. False
  /// when the file could not be written; the next save tries again with everything.
  bool saveUpTo(quint64 ticket, std::mutex &documentMutex);

  /// The last save: as saving at a new ticket, but gives up (false) when other threads keep the
  /// document or the file busy until `deadline`. The file then holds what was saved last. Nothing
  /// is written afterwards; a second call gives the result of the first.
  bool saveBefore(std::chrono::steady_clock::time_point deadline, std::mutex &documentMutex);

  /// A line on a failed save for want of space, by an I/O error or the like, with path and reason;
  /// empty when there is nothing new. Each reason is given once per path, and again after a save
  /// that worked. Any thread.
  std::string takeFailure();

private:
  enum class state_t { NOT_LOADED, LOADED, FAILED };

  bool save(std::mutex &documentMutex);
  bool write(const QVector<QByteArray> &content);
  bool keepMalformed();
  void noteFailure(int error);
  void noteForeign(bool kept);

  const QString path;
  std::atomic<state_t> state = state_t::NOT_LOADED;
  std::atomic<bool> loading = false; // stays true
  bool readOnly = false;
  bool wellFormed = true;
  GoalBytes bytes; // guarded by the document's mutex
  std::atomic<quint64> issued = 0;

  std::mutex writeMutex; // guards what follows; taken before the document's mutex
  quint64 written = 0;
  kelvarune::file::FileReplacer replacer;
  bool ended = false;
  bool endedWell = false;

  std::mutex failureMutex;
  std::string failure; // guarded by failureMutex
};

} // namespace pos

#endif
