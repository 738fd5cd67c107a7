// Reading is most of the work, so several threads do it; a component's document is let go before
// its thread takes the next one.

#include "commands/Components.h"

#include "commands/Options.h"
#include "commands/Past.h"
#include "files/Reading.h"
#include "input/Paths.h"
#include "output/Output.h"
#include "project/Options.h"
#include "text/Literals.h"
#include "text/Paths.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <map>
#include <set>
#include <thread>

using namespace kelvarune;

namespace {

/// Each holds the document of a component, which may be large.
constexpr int MOST_THREADS = 4;

QString baseName(const QString &path) {
  return QString::fromStdString(baseNameOfPath(path.toStdString()));
}

QString withoutSuffix(const QString &path) {
  const QFileInfo file(path);
  return QDir::cleanPath(file.path() + QLatin1Char('/') + baseName(path));
}

/// Adds files, named by what they are called; where two are alike by their paths below `directory`,
/// and where that is one file twice by numbers.
void addNamed(const QStringList &paths, const QString &directory,
              std::vector<listed_t> &components) {
  std::set<QString> taken;
  for (const listed_t &component : components)
    taken.insert(component.name);
  std::map<QString, int> uses;
  for (const QString &path : paths)
    ++uses[baseName(path)];
  for (const QString &path : paths) {
    QString usual = baseName(path);
    if (uses[usual] > 1 || taken.count(usual) > 0)
      usual = withoutSuffix(pathBelow(directory, path));
    QString name = usual;
    for (int i = 2; !taken.insert(name).second; ++i)
      name = "%1 (%2)"_s.arg(usual, QString::number(i));
    components.push_back({name, path});
  }
}

portfolio_t portfolioOfFiles(const QStringList &files) {
  const QDir here = QDir::current();
  portfolio_t portfolio = {here.dirName(), here.path(), "reports"_s, false, {}};
  addNamed(files, here.path(), portfolio.components);
  return portfolio;
}

std::optional<portfolio_t> portfolioOfProject(const options_t &options) {
  QStringList faults;
  const auto project = project::fromOptions(options.project, faults);
  if (!project) {
    for (const QString &fault : std::as_const(faults))
      complain(fault);
    if (faults.isEmpty())
      complain("there is no kelvarune.toml here or above; name status files, or a project by "
               "--config"_s);
    return std::nullopt;
  }
  portfolio_t portfolio = {project->name, project->directory, project->reports, true, {}};
  for (const project::component_t &component : project->components)
    portfolio.components.push_back({component.name, project->shown(component.posPath)});
  return portfolio;
}

bool haveEqualContent(const QString &path, const QString &other) {
  QFile file(path);
  QFile otherFile(other);
  return file.open(QIODevice::ReadOnly) && otherFile.open(QIODevice::ReadOnly) &&
         file.size() == otherFile.size() && file.readAll() == otherFile.readAll();
}

/// Fills in what changed since the earlier state.
void compare(component_t &component, const std::vector<goal_t> &goals, Earlier &earlier) {
  const earlier_file_t before = earlier.find(component.path);
  if (!before.fault.isEmpty()) {
    component.faults.append(before.fault);
    return;
  }
  std::vector<goal_t> goalsBefore;
  component.isNew = component.isRead && before.path.isEmpty();
  if (!before.path.isEmpty()) {
    if (component.isRead && haveEqualContent(before.path, component.path))
      return;
    QDomDocument document;
    const auto faults = pos::readFaults(before.path, pos::use_t::COUNTING, document);
    if (!faults.empty()) {
      component.faults.append(whyRefused(before.name, faults));
      return;
    }
    goalsBefore = goalsOf(document);
  }
  component.changes = changesOf(goalsBefore, goals);
}

/// Reads one component; false when it cannot be read.
bool read(component_t &component, content_t &content, const options_t &options) {
  const auto faults = pos::readFaults(component.path, pos::use_t::COUNTING, content.document);
  if (!faults.empty()) {
    component.faults.append(whyRefused(component.path, faults));
    return false;
  }
  component.isRead = true;
  component.modified = QFileInfo(component.path).lastModified();
  content.goals = goalsOf(content.document);
  content.past = findHistory(options, component.path);
  component.stats = statsOf(content.document, content.goals);
  if (content.past)
    component.times = timesOf(latestPlays(*content.past));
  std::copy_if(content.goals.begin(), content.goals.end(), std::back_inserter(component.disproved),
               [](const goal_t &goal) { return goal.status == pos::DISPROVED; });
  return true;
}

template <typename Work>
void forEachInThreads(std::size_t count, Work work) {
  const int threads = std::clamp(QThread::idealThreadCount(), 1, MOST_THREADS);
  std::atomic<std::size_t> next = 0;
  const auto run = [&] {
    for (std::size_t i = next++; i < count; i = next++)
      work(i);
  };
  std::vector<std::thread> others;
  for (std::size_t i = 1; i < std::min<std::size_t>(count, static_cast<std::size_t>(threads)); ++i)
    others.emplace_back(run);
  run();
  for (std::thread &other : others)
    other.join();
}

/// Components of the earlier state whose files are no more.
std::vector<listed_t> goneOnes(const portfolio_t &portfolio, Earlier &earlier) {
  std::set<QString> known;
  for (const listed_t &listed : portfolio.components)
    known.insert(absolutePathOf(listed.path));
  const QString here = QDir::currentPath();
  QStringList gone;
  for (const QString &path : earlier.paths()) {
    if (!QFileInfo::exists(path) && known.count(path) == 0)
      gone.append(leadsOut(pathBelow(here, path)) ? path : pathBelow(here, path));
  }
  std::vector<listed_t> all = portfolio.components;
  addNamed(gone, portfolio.directory, all);
  return {all.begin() + static_cast<std::ptrdiff_t>(portfolio.components.size()), all.end()};
}

void addComponents(const std::vector<listed_t> &list, bool areGone, overview_t &overview) {
  for (const listed_t &listed : list) {
    component_t component;
    component.name = listed.name;
    component.path = listed.path;
    component.isGone = areGone;
    overview.components.push_back(std::move(component));
  }
}

} // namespace

std::optional<portfolio_t> portfolioOf(const options_t &options) {
  return options.files.isEmpty() ? portfolioOfProject(options) : portfolioOfFiles(options.files);
}

portfolio_t portfolioBelow(const QString &directory) {
  QStringList paths;
  QDirIterator files(directory, {"*.pos"_s}, QDir::Files, QDirIterator::Subdirectories);
  while (files.hasNext())
    paths.append(QDir::cleanPath(files.next()));
  paths.sort();
  const QString whole = absolutePathOf(directory);
  portfolio_t portfolio = {QDir(whole).dirName(), whole, {}, true, {}};
  addNamed(paths, whole, portfolio.components);
  return portfolio;
}

int statusOf(const overview_t &overview) {
  return overview.hasFaults() ? EXIT_REFUSED : EXIT_DONE;
}

std::optional<std::unique_ptr<Earlier>> earlierOf(const QString &against,
                                                  const portfolio_t &portfolio) {
  if (against.isEmpty())
    return nullptr;
  const QString file = portfolio.isAll || portfolio.components.empty()
                           ? portfolio.directory
                           : portfolio.components.front().path;
  std::unique_ptr<Earlier> earlier = earlierState(against, portfolio.directory, file);
  if (!earlier)
    return std::nullopt;
  return earlier;
}

overview_t readAll(const portfolio_t &portfolio, const options_t &options, Earlier *earlier,
                   const use_content_t &use) {
  overview_t overview;
  overview.name = portfolio.name;
  overview.directory = portfolio.directory;
  overview.against = earlier ? options.against : QString();
  addComponents(portfolio.components, false, overview);
  if (earlier && portfolio.isAll)
    addComponents(goneOnes(portfolio, *earlier), true, overview);
  forEachInThreads(overview.components.size(), [&](std::size_t i) {
    component_t &component = overview.components[i];
    content_t content;
    const bool isThere = component.isGone || QFileInfo::exists(component.path);
    if (!component.isGone && !read(component, content, options) && isThere)
      return;
    if (earlier)
      compare(component, content.goals, *earlier);
    if (component.isRead && use)
      use(i, component, content);
  });
  for (const component_t &component : overview.components) {
    for (const QString &fault : component.faults)
      complain(fault);
    add(component.stats, overview.total);
    overview.seconds += component.times ? component.times->wall : 0;
    overview.hasTimes = overview.hasTimes || component.times.has_value();
  }
  return overview;
}
