#ifndef KELVARUNE_POS_SYNC_H
#define KELVARUNE_POS_SYNC_H

#include "pos/Goals.h"

#include <QDomDocument>
#include <QString>

#include <cstddef>
#include <optional>
#include <vector>

/// Keeping a POS document in step with the goals that there are, which change, move and go.
///
/// Each goal of the document may carry a digest of the text that its statuses are about. Goals with
/// equal digests are equal, whatever they are called. Nothing here computes a digest: whoever knows
/// the goals lists them. Threads as in pos.h; statuses are not looked at, so that no text of one
/// raises anything.
namespace pos {

/// A goal that there is now.
struct listed_goal_t {
  QString digest; ///< not empty
  QString source; ///< for ATTR_SOURCE; empty for none
};

struct listed_obligation_t {
  QString tag;
  std::vector<listed_goal_t> goals;
};

enum class goal_change_kind_t {
  MOVED,   ///< it has another name now, and keeps what the document says of it
  CHANGED, ///< the goal of this name has another text: it starts again
  ADDED,
  REMOVED
};

struct goal_change_t {
  goal_change_kind_t kind;
  goal_name_t name;        ///< now; of a removed goal the one it had
  goal_name_t before = {}; ///< of a moved goal
};

/// How a document must change to hold the goals of a list, in their order.
struct sync_plan_t {
  std::size_t kept = 0;               ///< goals that stay as they are, name included
  std::vector<goal_change_t> changes; ///< in the order of the list, then those removed
  std::size_t unknown = 0;            ///< goals of a kept name without a digest
  bool isReordered = false;           ///< obligations or their sizes are not those of the list
  bool hasOtherSources = false;       ///< some attribute of a goal that stays is to be written

  /// Whether every goal of the document is the listed one in its place.
  bool isInStep() const { return changes.empty() && !isReordered; }

  /// For each goal of the list in its order: the number (from 0) of the goal of the document that
  /// it continues. Those that start again continue none.
  std::vector<std::optional<std::size_t>> origins;
};

/// What is to be done with goals of the document that have no digest.
enum class undigested_t {
  CHANGED, ///< they count as changed
  ADOPTED  ///< they are taken for the listed goals of the same name
};

/// Matches the goals of `document` with those listed: first those of the same name (tag, which
/// obligation of that tag, number), if the digests are equal; then those of equal digests wherever
/// they are, preferably of the same tag, each once and in their order. What is left on both sides
/// under one name has changed.
sync_plan_t planSync(const QDomDocument &document, const std::vector<listed_obligation_t> &listed,
                     undigested_t undigested = undigested_t::CHANGED);

/// Carries the plan for these two out. Goals that start again are "Unproved", with every mechanism
/// that is registered with any goal registered as "Unproved"; so a replay finds it everywhere.
/// Whatever else the document holds stays.
void sync(QDomDocument &document, const std::vector<listed_obligation_t> &listed,
          const sync_plan_t &plan);

/// The first goal that has one digest in a document and another in the other, which must have the
/// same goals by name. A goal without a digest may be any.
std::optional<goal_place_t> differenceOfDigests(const QDomDocument &first,
                                                const QDomDocument &second);

} // namespace pos

#endif
