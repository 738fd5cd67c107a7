#ifndef KELVARUNE_TOOLS_POS_REPORT_H
#define KELVARUNE_TOOLS_POS_REPORT_H

#include <QByteArray>

struct options_t;

/// Writes a report where the options say and gives the exit status. A file is replaced as a whole;
/// the POS file itself is refused.
int finishReport(const options_t &options, const QByteArray &bytes);

#endif
