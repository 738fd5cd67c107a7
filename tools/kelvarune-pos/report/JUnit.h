#ifndef KELVARUNE_TOOLS_POS_REPORT_JUNIT_H
#define KELVARUNE_TOOLS_POS_REPORT_JUNIT_H

#include "model/Goals.h"
#include "model/Overview.h"

#include <QByteArray>

#include <map>
#include <utility>
#include <vector>

/// What goals took, by tag and number.
using seconds_t = std::map<std::pair<QString, int>, double>;

/// The goals of the POS file at `path`, which is `document`, as JUnit XML: a suite for each
/// obligation. A goal without a reliable proof is skipped, or failed when `unprovedFails`; its case
/// then says what each driver concluded.
QByteArray junitReport(const QString &path, const QDomDocument &document,
                       const std::vector<goal_t> &goals, const seconds_t &seconds,
                       bool unprovedFails);

/// One of several suites, and what is in it.
struct junit_suite_t {
  QByteArray xml;
  int tests = 0;
  int failures = 0;
  int errors = 0;
  double seconds = 0;
};

/// A component as one suite, likewise; its faults are errors, and proofs that it has lost failures.
/// Any thread.
junit_suite_t junitSuite(const component_t &component, const QDomDocument &document,
                         const std::vector<goal_t> &goals, const seconds_t &seconds,
                         bool unprovedFails);

QByteArray junitReport(const QString &name, const std::vector<junit_suite_t> &suites);

#endif
