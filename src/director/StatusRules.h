#ifndef KELVARUNE_DIRECTOR_STATUSRULES_H
#define KELVARUNE_DIRECTOR_STATUSRULES_H

#include "mechanism/Mechanism.h"
#include "pos/pos.h"

#include <QString>

/// What one verdict of a driver does to its mechanism's status of a goal.
struct mechanism_update_t {
  pos::status_t status; ///< the status afterwards
  bool write;           ///< whether the mechanism's element gets that status
};

/// The mechanism's next status. `last` tells whether the driver is the last of the mechanism's
/// element, `current` is the status before. Verdicts other than "Unknown" and "Disproved" are
/// proofs. Under the trust "redundancy" it takes two proofs to be proved.
mechanism_update_t nextMechanismStatus(const QString &verdict, bool last, mechanism::trust_t trust,
                                       pos::status_t current);

/// Whether a verdict concludes the work of the mechanism on the goal, so that no driver is left
/// that may work on it. `current` is the mechanism's status before the verdict.
bool concludesGoal(const QString &verdict, mechanism::trust_t trust, pos::status_t current);

/// Whether a goal of status text `goalStatus` takes over the mechanism's status.
bool goalFollows(const QString &goalStatus, pos::status_t mechanismStatus);

#endif
