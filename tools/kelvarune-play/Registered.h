#ifndef KELVARUNE_PLAY_REGISTERED_H
#define KELVARUNE_PLAY_REGISTERED_H

#include "mechanism/Mechanism.h"
#include "pos/Goals.h"

#include <QDomDocument>
#include <QStringList>

#include <optional>
#include <vector>

/// What a POS document says of mechanisms and their work before a run. It must have no faults.

/// The first goal in which the mechanism is not registered.
std::optional<pos::goal_name_t> goalWithout(const QDomDocument &document, const QString &mechanism);

/// The drivers of a registered mechanism that its description no longer has.
QStringList goneDrivers(const QDomDocument &document, const mechanism::mechanism_t &mechanism);

/// The goals that are not proved. Where a name stands for several goals it means the first, and the
/// others cannot be named: they are counted in `unnamed`.
std::vector<pos::goal_name_t> failedGoals(const QDomDocument &document, int &unnamed);

/// How many open goals none of the mechanisms will be tried on, because all of them have left the
/// goal unknown with the drivers that they have now.
int leftUnknown(const QDomDocument &document,
                const std::vector<mechanism::mechanism_t> &mechanisms);

#endif
