#ifndef KELVARUNE_TOOLS_POS_REPORT_HTMLPAGE_H
#define KELVARUNE_TOOLS_POS_REPORT_HTMLPAGE_H

#include "model/Stats.h"

#include <QByteArray>

/// One self-contained page that shows the POS file at `path`.
QByteArray htmlPage(const QString &path, const std::vector<goal_t> &goals, const stats_t &stats);

#endif
