#ifndef KELVARUNE_TOOLS_POS_GOALS_H
#define KELVARUNE_TOOLS_POS_GOALS_H

#include "PosDocument.h"

#include <QJsonArray>
#include <QString>

#include <optional>
#include <vector>

/// A driver of a mechanism.
struct driver_name_t {
  QString mechanism;
  QString driver;

  bool operator<(const driver_name_t &other) const {
    return mechanism != other.mechanism ? mechanism < other.mechanism : driver < other.driver;
  }
  QString text() const; ///< "mechanism/driver"
};

/// What a POS file says of one goal.
struct goal_t {
  place_t place;
  pos::status_t status = pos::UNPROVED;
  QString proofState; ///< the text of the component's own proof, "Unproved" when there is none
  bool provedByItself = false; ///< that text counts as a proof

  /// The drivers that found a proof on which their mechanism's verdict rests now.
  std::vector<driver_name_t> provedBy;
  /// The drivers that found a proof on which no verdict rests: the results were reset since (a
  /// replay plays these drivers again), or another driver of the mechanism has disproved the goal.
  std::vector<driver_name_t> uncountedProofs;
  /// The driver without whose proof the goal, which is proved, would not be.
  std::optional<driver_name_t> onlyProver;
};

/// Reads the goals of the POS file at `path`, in its order. False, after one line on standard
/// error, when it cannot be read, is not well-formed or holds unknown statuses.
bool readGoals(const QString &path, std::vector<goal_t> &goals);

/// The names as people read them, with commas between.
QString namesOf(const std::vector<driver_name_t> &drivers, const QString &separator);

/// How the goal was proved, for people: its own proof, the drivers, those that do not count in
/// parentheses.
QString proofsOf(const goal_t &goal);

QJsonObject jsonOf(const place_t &place);
QJsonArray jsonOf(const std::vector<driver_name_t> &drivers);

#endif
