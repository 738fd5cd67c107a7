#ifndef KELVARUNE_POS_MERGE_H
#define KELVARUNE_POS_MERGE_H

#include "pos/Goals.h"

#include <QDomDocument>
#include <QString>

#include <optional>
#include <vector>

/// Making one POS document of two that hold verdicts on the same goals.
///
/// The documents must have no faults for DERIVING (see Faults.h), else std::out_of_range is raised.
/// Threads as in pos.h.
namespace pos {

/// Where the goals of two documents are not the same; a side that has no obligation there is null.
struct goals_difference_t {
  int obligation = 0; ///< counts all obligations, from 1
  std::optional<obligation_t> first;
  std::optional<obligation_t> second;
};

/// The first obligation that has another tag or another number of goals in the other document.
/// Nothing when the documents have the same goals.
std::optional<goals_difference_t> differenceOfGoals(const QDomDocument &first,
                                                    const QDomDocument &second);

/// Proved, reliably or not, in one document and disproved in the other.
struct contradiction_t {
  goal_place_t place;
  std::optional<QString> mechanism; ///< nothing where only the statuses of the goals contradict
  std::optional<QString> driver;    ///< nothing where only those of goals or mechanisms do
  status_t first = UNPROVED;
  status_t second = UNPROVED;
};

/// Adds to `document` what `other`, which must have the same goals, has and it lacks. Each goal
/// gets the own proof, the iapa, the mechanisms and the drivers of both. Where both have one, the
/// stronger verdict is taken, from strong to weak: Disproved, Proved, UnreliablyProved, Unknown,
/// Unproved. So one disproof outweighs a proof, as in the status of a goal, and nothing is claimed
/// that one of the two refutes. A mechanism whose proof came from drivers that the other document
/// says disproved the goal, and that is not disproved itself, becomes "Unproved". A mechanism that
/// would be "Unknown" though one of its drivers found a proof or a disproof becomes "Unproved" as
/// well, since a replay can give that back. The status of each goal becomes the one that follows
/// from its parts. Everything else is that of `document`.
///
/// Gives the contradictions in document order; those of a mechanism or a goal only where none of
/// its parts has one.
std::vector<contradiction_t> merge(QDomDocument &document, const QDomDocument &other);

} // namespace pos

#endif
