// The reports on one status file, and where reports go.

#include "commands/Commands.h"
#include "commands/Options.h"
#include "commands/Past.h"
#include "commands/Reports.h"
#include "files/Reading.h"
#include "report/HtmlPage.h"
#include "report/JUnit.h"
#include "text/Literals.h"

#include <QFileInfo>

using namespace kelvarune;

namespace {

int reportFile(const options_t &options) {
  QDomDocument document;
  if (!readSound(options.file(), pos::use_t::COUNTING, document))
    return EXIT_REFUSED;
  const std::vector<goal_t> goals = goalsOf(document);
  const auto past = findHistory(options, options.file());
  if (options.report == report_t::HTML)
    return finishReport(options, options.files,
                        htmlPage(pageOf(options.file()), goals, statsOf(document, goals), past));
  return finishReport(options, options.files,
                      junitReport(options.file(), document, goals,
                                  past ? wallByGoal(*past) : seconds_t(), options.unprovedFails));
}

/// Whether one file is reported as if it were one of several.
bool isDirectory(const QString &path) {
  return path.endsWith(QLatin1Char('/')) || QFileInfo(path).isDir();
}

} // namespace

int commands::report(const options_t &options) {
  const bool isOfFile = options.report == report_t::HTML || options.report == report_t::JUNIT;
  if (options.files.size() != 1 || !options.against.isEmpty() || !isOfFile ||
      (options.report == report_t::HTML && isDirectory(options.outputPath)))
    return reportComponents(options);
  return reportFile(options);
}
