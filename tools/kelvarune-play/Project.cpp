// A component of a project is played as it would be by hand: all that is known of it becomes words
// of a command line.

#include "Project.h"

#include "files/Installed.h"
#include "history/Records.h"
#include "history/Work.h"
#include "output/Output.h"
#include "program/Beside.h"
#include "text/Literals.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

using namespace kelvarune;

using project::component_t;

namespace {

/// Options about the files of one component, or whose output has one component.
constexpr const char *OF_ONE_COMPONENT[] = {"goal", "against", "history", "xml"};

/// Options that become something else in the command lines of components, or nothing.
constexpr const char *NOT_HANDED_ON[] = {"concurrency", "config",    "installdir", "log",
                                         "no-config",   "resources", "verbose"};

class PartMaker {
public:
  PartMaker(const project_request_t &request, bool isOnly) : request(request), isOnly(isOnly) {}

  part_t make(const component_t &component) const {
    part_t part;
    part.name = component.name;
    part.arguments = wordsFor(component);
    part.expectedSeconds = history::workOfLastRun(history::pathBeside(component.posPath));
    part.size = static_cast<std::uint64_t>(QFileInfo(component.pogPath).size());
    return part;
  }

private:
  bool isGiven(const char *option) const { return request.given.count(QLatin1String(option)) > 0; }
  QStringList values(const char *option) const {
    const auto found = request.given.find(QLatin1String(option));
    return found == request.given.end() ? QStringList() : found->second;
  }

  QStringList wordsFor(const component_t &component) const {
    QStringList words;
    const auto add = [&words](const char *option, const QString &value) {
      words << "--%1=%2"_s.arg(QLatin1String(option), value);
    };
    const auto addPath = [&](const char *option, const QString &path) {
      add(option, request.project.shown(path));
    };
    const auto unlessGiven = [&](const char *option, const QString &value) {
      if (!isGiven(option) && !value.isEmpty())
        add(option, value);
    };
    const project::settings_t &settings = component.settings;
    addPath("pos", component.posPath);
    addPath("pog", component.pogPath);
    for (const QString &source : component.sources)
      addPath("sources", source);
    if (!isGiven("mechanism") && !isGiven("mechanism-directory"))
      for (const QString &mechanism : settings.mechanisms)
        add("mechanism", mechanismFor(mechanism));
    // The first directory that has a tool wins, and the last of the resource files. What nobody
    // names a place for is where installed tools are.
    for (const QString &place : values("installdir") + settings.installDirs)
      addPath("installdir", place);
    for (const std::string &place : installed::toolDirectories())
      add("installdir", QString::fromStdString(place));
    for (const QString &file : settings.resources + values("resources"))
      addPath("resources", file);
    unlessGiven("time-limit", settings.timeLimit);
    unlessGiven("memory-limit", settings.memoryLimit);
    if (!settings.cache.isEmpty())
      unlessGiven("cache", request.project.shown(settings.cache));
    for (const QString &log : values("log"))
      add("log", isOnly || log.isEmpty() ? log : QDir(log).filePath(component.name));
    return words + handedOn();
  }

  QString mechanismFor(const QString &mechanism) const {
    if (mechanism.contains(QLatin1Char('/')))
      return request.project.shown(mechanism);
    // The name of an installed one, though a file here may be called so.
    QString file = installed::mechanism(mechanism);
    return file.isEmpty() || !QFileInfo::exists(mechanism) ? mechanism : file;
  }

  QStringList handedOn() const {
    QStringList words;
    for (const auto &[option, given] : request.given) {
      const auto isThis = [&name = option](const char *other) {
        return name == QLatin1String(other);
      };
      if (std::any_of(std::begin(NOT_HANDED_ON), std::end(NOT_HANDED_ON), isThis))
        continue;
      if (given.isEmpty())
        words << "--"_s + option;
      for (const QString &value : given)
        words << "--%1=%2"_s.arg(option, value);
    }
    if (request.verbose)
      words << "-v"_s;
    return words;
  }

  const project_request_t &request;
  const bool isOnly;
};

/// What cannot be played as it is asked for.
QStringList faultsOf(const project_request_t &request, const std::vector<component_t> &components) {
  QStringList faults;
  const auto isGiven = [&](const char *option) {
    return request.given.count(QLatin1String(option)) > 0;
  };
  if (isGiven("sources"))
    faults << "--sources goes with --pos and --pog."_s;
  for (const char *option : OF_ONE_COMPONENT) {
    if (isGiven(option) && components.size() != 1)
      faults << "--%1 is for one component; name it."_s.arg(QLatin1String(option));
  }
  if (isGiven("mechanism") || isGiven("mechanism-directory"))
    return faults;
  for (const component_t &component : components) {
    if (component.settings.mechanisms.isEmpty() && component.sources.isEmpty())
      faults << "%1: no mechanism; 'mechanisms' in %2 or --mechanism names some."_s.arg(
          component.name, request.project.shown(request.project.path));
  }
  return faults;
}

} // namespace

std::optional<project_plan_t> planOf(const project_request_t &request) {
  QStringList faults;
  const std::vector<component_t> components =
      project::choose(request.project, request.names, faults);
  if (faults.isEmpty())
    faults = faultsOf(request, components);
  std::for_each(faults.begin(), faults.end(), complain);
  if (!faults.isEmpty())
    return std::nullopt;
  project_plan_t plan;
  const PartMaker maker(request, components.size() == 1);
  for (const component_t &component : components)
    plan.parts.push_back(maker.make(component));
  const auto jobs = request.given.find("concurrency"_s);
  plan.jobs = jobs != request.given.end() ? jobs->second.last() : request.project.jobs;
  plan.hasJobs = jobs != request.given.end() && plan.jobs != "auto"_s;
  return plan;
}

int tellParts(const std::vector<part_t> &parts) {
  QStringList faulty;
  for (const part_t &part : parts) {
    std::vector<std::string> words;
    for (const QString &word : part.arguments)
      words.push_back(word.toStdString());
    if (!printOut((shown(part.name) + ":\n"_s).toUtf8()))
      return EXIT_REFUSED;
    if (runBeside("kelvarune-play", words, output_t::SHOWN) != EXIT_DONE)
      faulty << shown(part.name);
  }
  if (!faulty.isEmpty())
    complain("%1 of %2 cannot be played: %3"_s.arg(
        QString::number(faulty.size()), counted(static_cast<int>(parts.size()), "component"),
        faulty.join(", "_s)));
  return faulty.isEmpty() ? EXIT_DONE : EXIT_REFUSED;
}
