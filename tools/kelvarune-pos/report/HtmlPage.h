#ifndef KELVARUNE_TOOLS_POS_REPORT_HTMLPAGE_H
#define KELVARUNE_TOOLS_POS_REPORT_HTMLPAGE_H

#include "history/Past.h"
#include "model/Stats.h"

#include <QByteArray>

#include <optional>

/// One self-contained page that shows the POS file at `path` and, if it has one, its history.
QByteArray htmlPage(const QString &path, const std::vector<goal_t> &goals, const stats_t &stats,
                    const std::optional<history::past_t> &past);

#endif
