#ifndef KELVARUNE_POS_EDITS_H
#define KELVARUNE_POS_EDITS_H

#include "pos/Goals.h"

#include <QDomDocument>
#include <QString>

#include <functional>
#include <optional>
#include <set>

/// Changes of a POS document that concern a part of its verdicts; those of the whole are in pos.h.
///
/// A verdict of a mechanism rests on a driver when that driver says the same (proved, whether
/// reliably or not; disproved; unknown) and none of its other drivers does. Where such a driver's
/// verdict goes, the mechanism's goes as well: it becomes "Unproved", so that the mechanism can be
/// played again. The status of a goal in which something went becomes the one that follows from its
/// parts; its own proof, iapa and the verdicts of other mechanisms stay.
///
/// The documents must have no faults for DERIVING (see Faults.h), else std::out_of_range is raised.
/// Threads as in pos.h.
namespace pos {

/// Which verdicts are meant. What is left empty sets no bounds.
struct verdict_filter_t {
  /// The statuses of the mechanisms; where `driver` is given, those of that driver instead.
  std::set<status_t> statuses = {};
  std::optional<QString> mechanism = {};
  std::optional<QString> driver = {};
  std::function<bool(const goal_place_t &)> isWanted = {}; ///< the goals
};

/// Resets the matching verdicts to "Unproved". Without a driver in the filter these are those of
/// mechanisms, and the drivers keep theirs, as in unprove: a replay can give the proofs back. With
/// a driver it is the verdicts of that driver; a mechanism that said "Unknown" when that driver did
/// is always reset with it, since now there is something left to try.
///
/// Gives the number of goals in which something was reset. The others stay exactly as they are.
int resetVerdicts(QDomDocument &document, const verdict_filter_t &filter);

/// Removes the driver `driver` from the mechanism `mechanism` in all goals. Gives the number of
/// goals that had it.
int removeDriver(QDomDocument &document, const QString &mechanism, const QString &driver);

} // namespace pos

#endif
