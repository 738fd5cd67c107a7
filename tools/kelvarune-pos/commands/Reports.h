#ifndef KELVARUNE_TOOLS_POS_COMMANDS_REPORTS_H
#define KELVARUNE_TOOLS_POS_COMMANDS_REPORTS_H

#include "output/Output.h"

#include <QByteArray>
#include <QStringList>

struct options_t;

/// Writes a report where the options say and gives the exit status: `status` when that went well. A
/// file is replaced as a whole; one of `files`, which it is about, is refused.
int finishReport(const options_t &options, const QStringList &files, const QByteArray &bytes,
                 int status = EXIT_DONE);

/// The reports on several status files, or on a project.
int reportComponents(const options_t &options);

#endif
