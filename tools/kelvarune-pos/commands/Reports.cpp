// The reports on several status files. Pages are written while the others are still being read, the
// index at the end, so that it leads to no page that is not there.

#include "commands/Reports.h"

#include "commands/Components.h"
#include "commands/Options.h"
#include "files/Saving.h"
#include "report/Badge.h"
#include "report/HtmlPage.h"
#include "report/JUnit.h"
#include "report/Markdown.h"
#include "report/Site.h"
#include "text/Literals.h"

#include <QDir>
#include <QFileInfo>

#include <atomic>

using namespace kelvarune;

namespace {

QStringList pathsOf(const portfolio_t &portfolio) {
  QStringList paths;
  for (const listed_t &listed : portfolio.components)
    paths.append(listed.path);
  return paths;
}

int reportSite(const options_t &options, const portfolio_t &portfolio, Earlier *earlier) {
  const QString site = options.outputPath.isEmpty() ? portfolio.reports : options.outputPath;
  if (!QDir(site).mkpath("components"_s)) {
    complain(site + ": cannot be made a directory, --output names another one"_s);
    return EXIT_REFUSED;
  }
  QStringList names;
  for (const listed_t &listed : portfolio.components)
    names.append(listed.name);
  const QStringList pages = pagePaths(names);
  std::atomic<bool> isWritten = true;
  const overview_t overview =
      readAll(portfolio, options, earlier,
              [&](std::size_t i, const component_t &component, const content_t &content) {
                const page_t page = {component.path, component.name, homeAddress()};
                if (!writeFile(QDir(site).filePath(pages[static_cast<int>(i)]),
                               htmlPage(page, content.goals, component.stats, content.past)))
                  isWritten = false;
              });
  if (!isWritten || !writeFile(QDir(site).filePath("index.html"_s), indexPage(overview, pages)))
    return EXIT_REFUSED;
  return statusOf(overview);
}

int reportJUnit(const options_t &options, const portfolio_t &portfolio, Earlier *earlier) {
  std::vector<junit_suite_t> suites(portfolio.components.size());
  const overview_t overview =
      readAll(portfolio, options, earlier,
              [&](std::size_t i, const component_t &component, const content_t &content) {
                const seconds_t seconds = content.past ? wallByGoal(*content.past) : seconds_t();
                suites[i] = junitSuite(component, content.document, content.goals, seconds,
                                       options.unprovedFails);
              });
  for (std::size_t i = 0; i < suites.size(); ++i) {
    if (!overview.components[i].isRead)
      suites[i] = junitSuite(overview.components[i], {}, {}, {}, options.unprovedFails);
  }
  return finishReport(options, pathsOf(portfolio), junitReport(overview.name, suites),
                      statusOf(overview));
}

} // namespace

int finishReport(const options_t &options, const QStringList &files, const QByteArray &bytes,
                 int status) {
  if (options.outputPath.isEmpty())
    return finish(bytes, status);
  for (const QString &file : files) {
    if (isSameFile(options.outputPath, file)) {
      complain(options.outputPath + ": is the status file itself, give another path"_s);
      return EXIT_REFUSED;
    }
  }
  return writeFile(options.outputPath, bytes) ? status : EXIT_REFUSED;
}

int reportComponents(const options_t &options) {
  const auto portfolio = portfolioOf(options);
  if (!portfolio)
    return EXIT_REFUSED;
  const auto earlier = earlierOf(options.against, *portfolio);
  if (!earlier)
    return EXIT_REFUSED;
  if (options.report == report_t::HTML)
    return reportSite(options, *portfolio, earlier->get());
  if (options.report == report_t::JUNIT)
    return reportJUnit(options, *portfolio, earlier->get());
  const overview_t overview = readAll(*portfolio, options, earlier->get());
  const QByteArray bytes =
      options.report == report_t::BADGE ? badge(overview) : markdownSummary(overview);
  return finishReport(options, pathsOf(*portfolio), bytes, statusOf(overview));
}
