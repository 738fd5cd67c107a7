#ifndef KELVARUNE_TOOLS_POS_REPORT_BADGE_H
#define KELVARUNE_TOOLS_POS_REPORT_BADGE_H

#include "model/Overview.h"

#include <QByteArray>

/// "proved 54/60" as a small SVG image, in the colour of the worst that there is.
QByteArray badge(const overview_t &overview);

#endif
