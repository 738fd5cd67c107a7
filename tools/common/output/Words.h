#ifndef KELVARUNE_TOOLS_COMMON_OUTPUT_WORDS_H
#define KELVARUNE_TOOLS_COMMON_OUTPUT_WORDS_H

#include "model/Goals.h"
#include "pos/Faults.h"

#include <QString>

#include <vector>

/// "TAG.N"; a tag with control characters, or none, as people can read it.
QString textOf(const pos::goal_name_t &name);

/// "mechanism/driver".
QString textOf(const driver_name_t &driver);

/// The names as people read them, with `separator` between.
QString namesOf(const std::vector<driver_name_t> &drivers, const QString &separator);

/// How the goal was proved, for people: its own proof, the drivers, those that disproved it, those
/// that do not count in parentheses.
QString proofsOf(const goal_t &goal);

/// What is wrong with which element of a goal, or with the document: one sentence without its end.
QString textOf(const pos::fault_t &fault);

#endif
