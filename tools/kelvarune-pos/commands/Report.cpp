// The reports, and where they go.

#include "commands/Commands.h"
#include "commands/Options.h"
#include "commands/Past.h"
#include "files/Reading.h"
#include "files/Saving.h"
#include "output/Output.h"
#include "report/HtmlPage.h"
#include "report/JUnit.h"
#include "text/Literals.h"

using namespace kelvarune;

namespace {

/// Writes a report where the options say and gives the exit status. A file is replaced as a whole;
/// the POS file itself is refused.
int finishReport(const options_t &options, const QByteArray &bytes) {
  if (options.outputPath.isEmpty())
    return finish(bytes);
  if (isSameFile(options.outputPath, options.file())) {
    complain(options.outputPath + ": is the status file itself, give another path"_s);
    return EXIT_REFUSED;
  }
  return writeFile(options.outputPath, bytes) ? EXIT_DONE : EXIT_REFUSED;
}

} // namespace

int commands::report(const options_t &options) {
  QDomDocument document;
  if (!readSound(options.file(), pos::use_t::COUNTING, document))
    return EXIT_REFUSED;
  const std::vector<goal_t> goals = goalsOf(document);
  const auto past = findHistory(options, options.file());
  if (options.html)
    return finishReport(options, htmlPage(pageOf(options.file()), goals, statsOf(document, goals), past));
  const auto seconds = past ? wallByGoal(*past) : std::map<std::pair<QString, int>, double>();
  return finishReport(options,
                      junitReport(options.file(), document, goals, seconds, options.unprovedFails));
}
