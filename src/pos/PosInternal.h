#ifndef KELVARUNE_POS_POSINTERNAL_H
#define KELVARUNE_POS_POSINTERNAL_H

#include "pos/Goals.h"
#include "pos/pos.h"
#include "xml/XmlFile.h"

#include <QDomDocument>

#include <functional>
#include <string>

/// What the files of the module share and nobody else uses. Threads and errors as in pos.h.
namespace pos {

// ---- PosWalk.cpp: the two ways through a POS document, in memory and in a file.

/// What an element is; OTHER is everything that means nothing where it stands.
enum class part_t { OTHER, DOCUMENT, ROOT, OBLIGATION, GOAL, PROOF_STATE, IAPA, MECHANISM, DRIVER };

/// What an element named `name` is as a child of a `parent`. Both ways ask here.
part_t partIn(part_t parent, const QString &name);

/// Calls `visit(part_t, QDomElement)` for the parts below `parent`, which is a `parentPart`, each
/// before those inside it, in document order; not for those inside a `deepest`.
template <typename Visit>
void visitParts(const QDomNode &parent, part_t parentPart, const Visit &visit,
                part_t deepest = part_t::DRIVER) {
  for (QDomElement element = parent.firstChildElement(); !element.isNull();
       element = element.nextSiblingElement()) {
    const part_t part = partIn(parentPart, element.tagName());
    if (part == part_t::OTHER)
      continue;
    visit(part, element);
    if (part != deepest)
      visitParts(element, part, visit, deepest);
  }
}

/// As visitParts for the whole document in the file at `path` (UTF-8), which is not kept. Results
/// and exceptions of `visit` as of kelvarune::xml::visitElements.
kelvarune::xml::read_result_t visitPartsOfFile(
    const std::string &path,
    const std::function<void(part_t part, const kelvarune::xml::StartTag &tag)> &visit);

/// The document in the file at `path` (UTF-8): null when there is no such file or it cannot be
/// read, without a root element (and not null) when it is not well-formed.
QDomDocument domOfPath(const std::string &path);

// ---- Edits.cpp

/// Resets the verdict of `mechanism` when it rested on a driver that says `said` no longer.
void followDriver(const QDomElement &mechanism, status_t said);

// ---- pos.cpp

/// As for a QDomElement; see Goals.h.
status_t statusOf(const kelvarune::xml::StartTag &tag);

/// The status that `goal` must have by its Proof_State, iapa and Mechanism children; never UNKNOWN.
///
/// One disproof outweighs any number of proofs. Raises std::out_of_range for an unknown verdict and
/// also, unlike elsewhere, for one that is missing.
status_t expectedStatus(const QDomElement &goal);

} // namespace pos

#endif
