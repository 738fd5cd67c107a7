#ifndef KELVARUNE_POS_FAULTS_H
#define KELVARUNE_POS_FAULTS_H

#include "pos/Goals.h"

#include <QDomDocument>
#include <QString>

#include <vector>

/// What is wrong with a POS file or document, for programs that say so before they use it.
///
/// Faults are records; whoever asks finds the words. Nothing is raised and nothing changed. A
/// document is read without a lock, files may be read by any thread.
namespace pos {

/// What is going to be done with a document, which decides what must be right in it.
enum class use_t {
  COUNTING, ///< reading the statuses of goals, mechanisms and drivers, as getMetrics does
  DERIVING, ///< also deriving the status of goals from their parts, as removeMechanism does
  CHECKING  ///< as DERIVING; besides, the stored status of each goal must be the derived one
};

enum class fault_kind_t {
  UNREADABLE,  ///< the file; when it nests too deeply the reader has said so on standard error
  MALFORMED,   ///< the file: `text` is the XML library's complaint
  NO_STATUSES, ///< the file is another document: its root element is a `text`
  MISSING,     ///< an element lacks the attribute that must have a status
  UNKNOWN,     ///< `text` in an attribute stands for no status there
  UNFOUNDED    ///< a goal's status `text` is not `expected`, which follows from its parts
};

/// The element that a fault is in.
enum class faulty_t { GOAL, IAPA, MECHANISM, DRIVER };

struct fault_t {
  fault_kind_t kind = fault_kind_t::UNREADABLE;
  int line = 0; ///< where the element's start tag ends, or the parser stopped, from 1; 0 for none
  int column = 0;
  QString text = {};

  // Of faults in goals:
  goal_place_t place = {};
  faulty_t element = faulty_t::GOAL;
  QString mechanism = {}; ///< the name of the mechanism concerned
  QString driver = {};    ///< the name of its driver
  QString attribute = {}; ///< that is missing, or whose text is wrong
  status_t expected = UNPROVED;
};

/// The faults of the goals of `document`, in document order. Without any, the operations of pos.h
/// raise no error in this use. Lines and columns are known of documents that were read from text.
std::vector<fault_t> faultsOf(const QDomDocument &document, use_t use);

/// Reads the POS file at `path` into `document` and gives its faults. One that cannot be read, is
/// not well-formed or has another root element than TAG_PROOF_OBLIGATIONS has no other; the
/// document is then not to be used.
///
/// What reads statuses elsewhere takes any root element, and finds no goals in another document.
/// Whoever named a wrong file would take that for an empty component.
std::vector<fault_t> readFaults(const QString &path, use_t use, QDomDocument &document);

} // namespace pos

#endif
