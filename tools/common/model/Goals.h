#ifndef KELVARUNE_TOOLS_COMMON_MODEL_GOALS_H
#define KELVARUNE_TOOLS_COMMON_MODEL_GOALS_H

#include "pos/Goals.h"

#include <QDomDocument>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

/// A driver of a mechanism.
struct driver_name_t {
  QString mechanism;
  QString driver;

  bool operator<(const driver_name_t &other) const {
    return mechanism != other.mechanism ? mechanism < other.mechanism : driver < other.driver;
  }
};

/// What a POS file says of one goal.
struct goal_t {
  pos::goal_place_t place;
  pos::status_t status = pos::UNPROVED;
  QString proofState; ///< the text of the component's own proof, "Unproved" when there is none
  QString source;     ///< where it stands, "FILE:LINE"; empty when the file does not say
  bool provedByItself = false; ///< that text counts as a proof

  /// The drivers that found a proof on which their mechanism's verdict rests now.
  std::vector<driver_name_t> provedBy;
  /// The drivers that found a proof on which no verdict rests: the results were reset since (a
  /// replay plays these drivers again), or another driver of the mechanism has disproved the goal.
  std::vector<driver_name_t> uncountedProofs;
  /// The drivers that found a disproof on which their mechanism's verdict rests now.
  std::vector<driver_name_t> disprovedBy;
  /// The driver without whose proof the goal, which is proved, would not be.
  std::optional<driver_name_t> onlyProver;
};

/// The goals of `document` in its order. It must have no faults for counting.
std::vector<goal_t> goalsOf(const QDomDocument &document);

#endif
