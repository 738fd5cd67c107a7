#ifndef KELVARUNE_TOOLS_POS_REPORT_JUNIT_H
#define KELVARUNE_TOOLS_POS_REPORT_JUNIT_H

#include "model/Goals.h"

#include <QByteArray>

#include <map>
#include <utility>

/// The goals of the POS file at `path`, which is `document`, as JUnit XML. A goal without a
/// reliable proof is skipped, or failed when `unprovedFails`; its case then says what each driver
/// concluded. `seconds` has what the goals took, by tag and number.
QByteArray junitReport(const QString &path, const QDomDocument &document,
                       const std::vector<goal_t> &goals,
                       const std::map<std::pair<QString, int>, double> &seconds,
                       bool unprovedFails);

#endif
