#ifndef KELVARUNE_TOOLS_POS_COMMANDS_PAST_H
#define KELVARUNE_TOOLS_POS_COMMANDS_PAST_H

#include "history/Past.h"
#include "model/Times.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

#include <cstddef>
#include <optional>
#include <vector>

struct options_t;

/// The history that goes with a status file, unless --history names another one.
QString historyOf(const options_t &options, const QString &posPath);

/// Reads the history of the options' file. Nothing, after a complaint, when that cannot be.
std::optional<history::past_t> readHistory(const options_t &options);

/// Reads the history of a status file that may have none: then, too, nothing. What is there and
/// cannot be read is told.
std::optional<history::past_t> findHistory(const options_t &options, const QString &posPath);

/// The place in the history of the run with this number. Nothing, after a complaint, when there is
/// no such run.
std::optional<std::size_t> runNumbered(const history::past_t &past, int number,
                                       const options_t &options);

/// "0.067": seconds.
QString textOfSeconds(double seconds);
QString nameOf(const history::known_driver_t &driver); ///< "mechanism/driver"
QString nameOf(const history::known_goal_t &goal);     ///< "TAG.N"
QString nameOf(history::outcome_t outcome);            ///< "not counted" or as in the status file
QString textOfTime(double since1970);                  ///< "2026-11-22T07:31:02Z"

QJsonObject jsonOf(const history::known_driver_t &driver);
QJsonObject jsonOf(const history::known_goal_t &goal);
/// Null when it did not count.
QJsonValue jsonOf(history::outcome_t outcome);
QJsonObject jsonOf(const times_t &times);
/// Of each driver.
QJsonArray jsonOfDrivers(const history::past_t &past, const plays_t &plays);

#endif
