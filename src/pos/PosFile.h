#ifndef KELVARUNE_POS_POSFILE_H
#define KELVARUNE_POS_POSFILE_H

#include "file/FileReplacer.h"

#include <QByteArray>
#include <QDomDocument>
#include <QString>
#include <QVector>

#include <atomic>
#include <chrono>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace pos {

/// A POS document and the file it came from, which is kept current cheaply and never damaged.
///
/// Saved bytes are those that QDomDocument::save with XML_INDENT gives. They are not made anew for
/// every save: the bytes of each goal are kept, and only those of changed goals are serialised
/// again. Each save replaces the whole file (see kelvarune::file::FileReplacer).
///
/// Threads: the document and `goalChanged` are guarded by a mutex of the owner, which
/// passes it to the saving functions; these may be called by several threads at once and must be
/// called without holding it. They hold it only to collect the bytes, not while they write. When
/// several threads want to save, one write serves all those that asked before it collected.
class PosFile {
public:
  explicit PosFile(QString path);

  /// Reads the file into `document`, which shares its nodes with this object from then on. False
  /// when the file cannot be read. Errors of the XML are ignored; the document is then read as far
  /// as it goes, and the first save keeps the file's bytes under its name followed by "~".
  bool load(QDomDocument &document);

  /// Allows saving: the owner has read all it needs, the document is what the file shall hold.
  void setReady(bool value = true) { ready = value; }
  bool isReady() const { return ready; }

  /// Serialises the whole document ahead of the first save, which is the long part of that.
  void prepare();

  /// Whether the long part of the first save has been done, by preparing or by saving.
  bool isPrepared() const { return !divisible || !blocks.isEmpty(); }

  /// Tells that attributes of goal `goal` of proof obligation `obligation` (indexes as in the
  /// document, from 0), or of elements in it, got other values. All other changes of the document
  /// must be made before it is prepared or first saved.
  void goalChanged(std::size_t obligation, std::size_t goal);

  /// A mark for the document as it is now; see saveUpTo. Any thread, after its changes were made
  /// under the document's mutex.
  quint64 ticket() { return ++issued; }

  /// Returns when the file holds the document as it was at `ticket`, or a later state of it. False
  /// when the file could not be written; the next save tries again with everything.
  bool saveUpTo(quint64 ticket, std::mutex &documentMutex);

  /// The last save: as saving at a new ticket, but gives up (false) when other threads keep the
  /// document or the file busy until `deadline`. The file then holds what was saved last. Nothing
  /// is written afterwards.
  bool saveBefore(std::chrono::steady_clock::time_point deadline, std::mutex &documentMutex);

  /// A line that tells of a failed save for want of space, by an I/O error or the like, with path
  /// and reason; empty when there is nothing new to tell: each reason is told once per path and
  /// program run. Any thread.
  std::string takeFailure();

private:
  using address_t = std::pair<std::size_t, std::size_t>;

  /// The bytes of a goal within its block.
  struct place_t {
    int begin;
    int end;
  };

  bool write(const QVector<QByteArray> &content);
  bool keepMalformed();
  void noteFailure(int error);

  // Under the document's mutex:
  QVector<QByteArray> collect();
  QByteArray wholeDocument();
  void split(const QByteArray &bytes);
  bool serialiseGoal(const address_t &address);
  void replaceGoal(std::size_t number, const QByteArray &bytes);

  QString path;
  QDomDocument document;
  bool wellFormed = true;
  std::atomic<bool> ready = false;

  // Guarded by the document's mutex. `blocks` is the file's content: each block ends with the last
  // of its goals, GOALS_PER_BLOCK of them, and the last one with the file. Empty before the first
  // save and where goals cannot be kept apart.
  QVector<QByteArray> blocks;
  std::vector<place_t> places; // of all goals in their order
  std::vector<std::vector<QDomElement>> goals;
  std::vector<std::size_t> goalsBefore; // each proof obligation
  std::set<address_t> changedGoals;
  QTextCodec *codec = nullptr;
  bool divisible = true;

  std::atomic<quint64> issued = 0;

  std::mutex writeMutex; // guards what follows; taken before the document's mutex
  quint64 written = 0;
  kelvarune::file::FileReplacer replacer;
  bool ended = false;

  std::mutex failureMutex;
  std::string failure; // guarded by failureMutex
};

} // namespace pos

#endif
