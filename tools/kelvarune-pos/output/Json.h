#ifndef KELVARUNE_TOOLS_POS_OUTPUT_JSON_H
#define KELVARUNE_TOOLS_POS_OUTPUT_JSON_H

#include "model/Stats.h"
#include "output/Output.h"

#include <QJsonArray>
#include <QJsonObject>

/// The model as the documented JSON has it; see schema.json.
QJsonObject jsonOf(const pos::goal_place_t &place);
QJsonArray jsonOf(const std::vector<driver_name_t> &drivers);
QJsonObject jsonOf(const goal_t &goal);
QJsonObject jsonOf(const stats_t &stats); ///< "totals" and "mechanisms"

/// As finish, for a JSON document: `content` with what all documents share.
int finishJson(const char *kind, const QString &path, QJsonObject content, int status = EXIT_DONE);

#endif
