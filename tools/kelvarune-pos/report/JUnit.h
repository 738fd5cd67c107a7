#ifndef KELVARUNE_TOOLS_POS_REPORT_JUNIT_H
#define KELVARUNE_TOOLS_POS_REPORT_JUNIT_H

#include "model/Goals.h"

#include <QByteArray>

/// The goals of the POS file at `path`, which is `document`, as JUnit XML. A goal without a
/// reliable proof is skipped, or failed when `unprovedFails`; its case then says what each driver
/// concluded.
QByteArray junitReport(const QString &path, const QDomDocument &document,
                       const std::vector<goal_t> &goals, bool unprovedFails);

#endif
