#ifndef KELVARUNE_TOOLS_POS_COMMANDS_NAMES_H
#define KELVARUNE_TOOLS_POS_COMMANDS_NAMES_H

#include "model/Goals.h"
#include "pos/Goals.h"

#include <QString>

#include <optional>
#include <vector>

/// The indexes of the goals called `name`: several where obligations share a tag. None, after a
/// complaint that says what there is, when no goal of the file at `path` has that name.
std::vector<std::size_t> goalsNamed(const pos::goal_name_t &name,
                                    const std::vector<pos::goal_t> &goals, const QString &path);

/// Whether the goal's whole tag matches the pattern of * ? [...]; every tag matches an empty one.
bool matchesTag(const pos::goal_place_t &place, const QString &glob);

/// Whether the file at `path`, where `registered` left results, has the mechanism and, in it or in
/// any, the driver; what is not given is there. Else a complaint says what there is.
bool areRegistered(const std::optional<QString> &mechanism, const std::optional<QString> &driver,
                   const std::vector<pos::registered_t> &registered, const QString &path);

#endif
