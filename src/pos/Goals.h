#ifndef KELVARUNE_POS_GOALS_H
#define KELVARUNE_POS_GOALS_H

#include "pos/pos.h"

#include <QDomElement>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

/// The goals of a POS document: the way through them, their names, and what they say.
///
/// Nothing here changes a document. Elements are handles that share their nodes with the document,
/// so what is written through them is written in it. Threads and errors as in pos.h.
namespace pos {

// ---- Names of goals

/// A goal as people name it. The tag may hold dots and may be empty.
struct goal_name_t {
  QString tag;    ///< of its proof obligation
  int number = 0; ///< within that obligation, from 1
};

/// "TAG.N".
QString strOfGoalName(const goal_name_t &name);

/// The goal that `text` names: the number follows the last dot. Nothing when there is no dot, or no
/// number from 1 after it.
std::optional<goal_name_t> goalNameOfStr(const QString &text);

// ---- The way through the goals

/// Where a goal is. Two obligations may have one tag, so they are counted as well.
struct goal_place_t : goal_name_t {
  int obligation = 0; ///< counts the obligations that have goals, from 1
};

struct goal_t {
  goal_place_t place;
  QDomElement element;
};

struct obligation_t {
  QString tag;
  std::vector<QDomElement> goals;
};

/// The proof obligations in document order, also those without goals.
std::vector<obligation_t> obligationsOf(const QDomDocument &document);

/// All goals in document order. The list stays as it is when the document changes.
std::vector<goal_t> goalsOf(const QDomDocument &document);

// ---- What they say

/// The status of a goal, a mechanism or a driver as it is stored; UNPROVED when it has none. Raises
/// std::out_of_range for an unknown text.
status_t statusOf(const QDomElement &element);

/// Whether `status` says that there is a proof, reliable or not.
bool isProof(status_t status);

/// The proofState of a goal, from its first Proof_State child; `absent` when the element or its
/// attribute is missing.
QString proofStateOf(const QDomElement &goal, const QString &absent);

/// Whether a proofState text says that the component's own proof has proved the goal. "Proved"
/// alone does not.
bool isProvedProofState(const QString &proofState);

/// A mechanism that left results, and its drivers.
struct registered_t {
  QString name;
  QStringList drivers;
};

/// The mechanisms in the order of their first appearance, and the drivers of each in theirs: the
/// order in which they were played.
std::vector<registered_t> registeredMechanisms(const QDomDocument &document);

} // namespace pos

#endif
