#ifndef KELVARUNE_TOOLS_POS_MODEL_OVERVIEW_H
#define KELVARUNE_TOOLS_POS_MODEL_OVERVIEW_H

#include "model/Differences.h"
#include "model/Stats.h"
#include "model/Times.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

/// Several components side by side, when their files have been let go.

/// What became of a goal since an earlier state.
struct change_t {
  difference_kind_t kind;
  pos::goal_place_t place;
  std::optional<pos::status_t> before; ///< nothing for a goal that appeared
  std::optional<pos::status_t> after;  ///< nothing for a goal that disappeared

  /// Whether a goal that was proved is no more.
  bool isGoneProof() const { return !after && pos::isProof(*before); }
};

struct component_t {
  QString name;
  QString path;                 ///< as people open it
  bool isRead = false;          ///< else it is one of the faults, or gone
  bool isNew = false;           ///< there was no such file in the earlier state
  bool isGone = false;          ///< there was, and nobody names it any more
  QStringList faults;           ///< complete lines: why it, or its earlier state, could not be read
  QDateTime modified;           ///< its file
  stats_t stats;                ///< zeros when it was not read
  std::optional<times_t> times; ///< of the last plays, when it has a history
  std::vector<change_t> changes;
  std::vector<goal_t> disproved;
};

struct overview_t {
  QString name;                        ///< of the whole
  QString directory;                   ///< that it belongs to
  QString against;                     ///< the earlier state; empty when there is none
  std::vector<component_t> components; ///< in their order, those that are gone last
  stats_t total;
  double seconds = 0; ///< of all histories, by the clock
  bool hasTimes = false;

  bool hasFaults() const;
};

/// The changes from `before` to `after`, in the order of the kinds.
std::vector<change_t> changesOf(const std::vector<goal_t> &before,
                                const std::vector<goal_t> &after);

int countOf(const component_t &component, difference_kind_t kind);
int countOf(const overview_t &overview, difference_kind_t kind);
int countOfGoneProofs(const overview_t &overview);

/// Makes the proofs that are gone proofs lost.
void takeGoneForLost(overview_t &overview);

#endif
