#ifndef KELVARUNE_POS_POSINTERNAL_H
#define KELVARUNE_POS_POSINTERNAL_H

#include "pos/pos.h"
#include "xml/XmlFile.h"

#include <QDomDocument>

#include <functional>
#include <string>

/// What the parts of the module share, and programs that look closer at POS documents than pos.h
/// lets them. Threads and errors as in pos.h.
namespace pos {

// ---- pos.cpp

/// Whether a proofState text says that the component's own proof has proved the goal. "Proved"
/// alone does not.
bool isProvedProofState(const QString &proofState);

/// The proofState of a goal, from its first Proof_State child; `absent` when the element or its
/// attribute is missing.
QString proofStateOf(const QDomElement &goal, const QString &absent);

/// The status of a goal, a mechanism or a driver as it is stored; UNPROVED when it has none. Raises
/// std::out_of_range for an unknown text.
status_t statusOf(const QDomElement &element);
status_t statusOf(const kelvarune::xml::MetElement &element);

/// The status that `goal` must have by its Proof_State, iapa and Mechanism children; never UNKNOWN.
///
/// One disproof outweighs any number of proofs. Raises std::out_of_range for an unknown verdict and
/// also, unlike elsewhere, for one that is missing.
status_t expectedStatus(const QDomElement &goal);

// ---- PosOperations.cpp

/// The document in the file at `path` (UTF-8): null when there is no such file or it cannot be
/// read, without a root element (and not null) when it is not well-formed.
QDomDocument domOfPath(const std::string &path);

/// What of a goal is met while a file is read.
enum class part_t { GOAL, PROOF_STATE, MECHANISM, DRIVER };

/// Reads the POS file at `path` (UTF-8) without keeping it. Calls `visit` for each goal and for its
/// Proof_State, Mechanism and Driver elements, each before those inside it, in document order.
///
/// Results and exceptions of `visit` as of kelvarune::xml::visitElements.
kelvarune::xml::read_result_t visitGoals(
    const std::string &path,
    const std::function<void(part_t part, const kelvarune::xml::MetElement &element)> &visit);

/// Calls `visit(QDomElement)` for the goals of `document` in order until a call returns false.
/// Returns whether all calls returned true.
template <typename Visit>
bool everyGoal(const QDomDocument &document, Visit visit) {
  for (const QDomElement &obligation :
       kelvarune::xml::children(document.documentElement(), TAG_PROOF_OBLIGATION)) {
    for (const QDomElement &goal : kelvarune::xml::children(obligation, TAG_SIMPLE_GOAL)) {
      if (!visit(goal))
        return false;
    }
  }
  return true;
}

/// Calls `visit(QDomElement)` for each goal of `document` in order.
template <typename Visit>
void forEachGoal(const QDomDocument &document, Visit visit) {
  everyGoal(document, [&visit](const QDomElement &goal) {
    visit(goal);
    return true;
  });
}

} // namespace pos

#endif
