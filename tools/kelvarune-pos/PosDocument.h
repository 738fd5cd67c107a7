#ifndef KELVARUNE_TOOLS_POS_POSDOCUMENT_H
#define KELVARUNE_TOOLS_POS_POSDOCUMENT_H

#include "pos/PosInternal.h"

#include <QDomDocument>
#include <QString>

#include <vector>

/// Where a goal is: for people "TAG.N".
struct place_t {
  QString tag;
  int obligation = 0; ///< counts the obligations that have goals, from 1: tags may come twice
  int number = 0;     ///< of the goal within its obligation, from 1

  QString text() const;
};

/// Something in a goal that no status follows from.
struct fault_t {
  place_t place;
  int line; ///< in the file, where the start tag of the element concerned ends, from 1
  int column;
  QString text; ///< one sentence without its end: what is wrong with which element
};

/// What a command is going to do with the document, which decides what must be right in it.
enum class use_t {
  COUNTING, ///< reads the statuses of goals, mechanisms and drivers
  DERIVING  ///< also derives the status of goals from their parts, which must all have verdicts
};

/// Reads the POS file at `path`. False, after one line on standard error, when it cannot be read or
/// is not well-formed.
bool readPosDocument(const QString &path, QDomDocument &document);

/// Also refuses a file with faults; see faultsOf.
bool readSoundPosDocument(const QString &path, use_t use, QDomDocument &document);

/// The status texts in `goal` that have no meaning, in document order. Without any, the operations
/// of pos.h on the goal raise no error.
std::vector<fault_t> faultsOf(const QDomElement &goal, const place_t &place, use_t use);

/// Calls `visit(QDomElement goal, place_t place)` for each goal in document order.
template <typename Visit>
void forEachPlacedGoal(const QDomDocument &document, Visit visit) {
  QDomNode obligation;
  place_t place;
  pos::forEachGoal(document, [&](const QDomElement &goal) {
    if (goal.parentNode() != obligation) {
      obligation = goal.parentNode();
      place = {obligation.firstChildElement(pos::TAG_TAG).text(), place.obligation + 1, 0};
    }
    ++place.number;
    visit(goal, std::as_const(place));
  });
}

#endif
