// From patterns and sections to components. A component is found by its POG: two patterns that
// match it name it once, and a section with that POG gives it its name.

#include "project/Components.h"

#include "commandline/CommandTable.h"
#include "project/Glob.h"
#include "text/Literals.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <map>

namespace kelvarune::project {

namespace {

const QString POG_SUFFIX = QStringLiteral(".pog");
const QString POS_SUFFIX = QStringLiteral(".pos");

QString withoutSuffix(const QString &path) {
  const QFileInfo file(path);
  return QDir::cleanPath(file.path() + QLatin1Char('/') + file.completeBaseName());
}

bool isOfPair(const QString &path) {
  return path.endsWith(POG_SUFFIX) || path.endsWith(POS_SUFFIX);
}

class Gatherer {
public:
  Gatherer(const project_file_t &file, project_t &project, Faults &faults)
      : file(file), project(project), faults(faults), directory(project.directory) {}

  void gather() {
    for (const text_t &pattern : file.top.list("components"))
      addMatches(pattern);
    const auto matched = static_cast<std::ptrdiff_t>(project.components.size());
    for (const section_t &section : file.components)
      addPairOf(section);
    giveNames();
    for (const section_t &section : file.components)
      place(section);
    std::stable_sort(
        project.components.begin() + matched, project.components.end(),
        [this](const component_t &a, const component_t &b) { return rankOf(a) < rankOf(b); });
    takeSettings();
  }

private:
  QString absolute(const QString &path) const {
    return QDir::cleanPath(directory.absoluteFilePath(path));
  }

  /// The component of this POG, which may be a new one.
  component_t &componentOf(const QString &pogPath) {
    const auto found = find([&](const component_t &known) { return known.pogPath == pogPath; });
    if (found != project.components.end())
      return *found;
    component_t component;
    component.pogPath = pogPath;
    component.posPath = withoutSuffix(pogPath) + POS_SUFFIX;
    project.components.push_back(component);
    return project.components.back();
  }

  template <typename F>
  std::vector<component_t>::iterator find(F isIt) {
    return std::find_if(project.components.begin(), project.components.end(), isIt);
  }

  void addMatches(const text_t &pattern) {
    bool some = false;
    const bool isLiteral = !isPattern(pattern.text);
    for (const QString &path : matches(project.directory, pattern.text)) {
      const bool isPair = isOfPair(path);
      if (!isPair && QFileInfo(path).isFile()) {
        if (isLiteral)
          faults.add(pattern.place,
                     "'%1' is neither a .pog or .pos file nor a directory; scripts "
                     "stand in the 'sources' of a section [component.NAME]"_s.arg(pattern.text));
        some = some || isLiteral;
        continue;
      }
      some = true;
      if (isPair)
        componentOf(withoutSuffix(path) + POG_SUFFIX);
      else
        componentOf(path + QLatin1Char('/') + QFileInfo(path).fileName() + POG_SUFFIX).sources =
            QStringList(path);
    }
    if (!some)
      faults.add(pattern.place, "nothing matches '%1'"_s.arg(pattern.text));
  }

  /// The POG that a section says it is of; empty when it says only how a component is played.
  QString pogPathOf(const section_t &section) const {
    if (section.has("pog"))
      return absolute(section.text("pog"));
    return section.has("sources") ? absolute(section.name + POG_SUFFIX) : QString();
  }

  void addPairOf(const section_t &section) {
    // A section that has no POG of its own may be of a component that a pattern has found.
    if (section.has("pog"))
      componentOf(pogPathOf(section)).name = section.name;
  }

  /// Names those that no section has named: by their files, or where these are alike by paths.
  void giveNames() {
    std::map<QString, int> uses;
    const auto shortName = [](const component_t &component) {
      return QFileInfo(component.pogPath).completeBaseName();
    };
    for (const component_t &component : project.components)
      ++uses[component.name.isEmpty() ? shortName(component) : component.name];
    for (component_t &component : project.components) {
      if (component.name.isEmpty())
        component.name = uses[shortName(component)] == 1
                             ? shortName(component)
                             : directory.relativeFilePath(withoutSuffix(component.pogPath));
    }
  }

  void place(const section_t &section) {
    auto found = find([&](const component_t &component) { return component.name == section.name; });
    if (found == project.components.end() && (section.has("sources") || section.has("pos"))) {
      const QString pog = section.has("sources")
                              ? pogPathOf(section)
                              : withoutSuffix(absolute(section.text("pos"))) + POG_SUFFIX;
      componentOf(pog).name = section.name;
      found = find([&](const component_t &component) { return component.name == section.name; });
    }
    if (found == project.components.end()) {
      if (file.top.has("components") || faults.isEmpty()) // else that is what is wrong
        faults.add(section.place,
                   "no component is called '%1'%2"_s.arg(section.name, hintFor(section.name)));
      return;
    }
    const auto isAlike = [&](const component_t &other) {
      return &other != &*found && other.name == found->name;
    };
    const auto other = find(isAlike);
    if (other != project.components.end())
      faults.add(section.place, "two components are called '%1': %2 and %3"_s.arg(
                                    section.name, directory.relativeFilePath(found->pogPath),
                                    directory.relativeFilePath(other->pogPath)));
    if (section.has("pos"))
      found->posPath = absolute(section.text("pos"));
    if (section.has("sources"))
      found->sources = sourcesOf(section);
    if (!found->sources.isEmpty() && (!found->pogPath.endsWith(POG_SUFFIX) ||
                                      found->posPath != withoutSuffix(found->pogPath) + POS_SUFFIX))
      faults.add(
          section.place,
          "'%1' is made of scripts: its files are X.pog and X.pos beside it"_s.arg(section.name));
    sections[section.name] = &section;
  }

  /// Where the section of a component stands among the sections.
  const section_t *rankOf(const component_t &component) const {
    const auto found = sections.find(component.name);
    return found == sections.end() ? nullptr : found->second;
  }

  QString hintFor(const QString &name) const {
    QStringList names;
    for (const component_t &component : project.components)
      names << component.name;
    return commandline::hintFor(name, names, "; 'pog' or 'sources' say what it is"_s);
  }

  QStringList sourcesOf(const section_t &section) {
    QStringList sources;
    for (const text_t &pattern : section.list("sources")) {
      const QStringList found = matches(project.directory, pattern.text);
      if (found.isEmpty())
        faults.add(pattern.place, "nothing matches '%1'"_s.arg(pattern.text));
      sources += found;
    }
    sources.removeDuplicates();
    if (sources.isEmpty())
      faults.add(section.place, "'sources' of '%1' names nothing"_s.arg(section.name));
    return sources;
  }

  void takeSettings() {
    std::vector<component_t> kept;
    for (component_t &component : project.components) {
      const auto found = sections.find(component.name);
      const section_t *section = found == sections.end() ? nullptr : found->second;
      if (section && section->text("skip") == "true"_s) {
        project.skipped << component.name;
        continue;
      }
      component.settings = settingsOf(section);
      kept.push_back(std::move(component));
    }
    project.components = std::move(kept);
  }

  settings_t settingsOf(const section_t *section) const {
    const auto sectionWith = [&](const char *key) -> const section_t & {
      return section && section->has(key) ? *section : file.top;
    };
    const auto paths = [&](const char *key) {
      QStringList all;
      for (const text_t &path : sectionWith(key).list(key))
        all << absolute(path.text);
      return all;
    };
    settings_t settings;
    for (const text_t &mechanism : sectionWith("mechanisms").list("mechanisms"))
      settings.mechanisms << mechanismOf(mechanism.text);
    settings.installDirs = paths("installdir");
    settings.resources = paths("resources");
    settings.timeLimit = sectionWith("time-limit").text("time-limit");
    settings.memoryLimit = sectionWith("memory-limit").text("memory-limit");
    settings.cache = paths("cache").value(0);
    return settings;
  }

  /// The path of a file, or what must be a name.
  QString mechanismOf(const QString &text) const {
    const bool isName = !text.contains(QLatin1Char('/')) && !text.contains(QLatin1Char('.'));
    return isName && !QFileInfo(absolute(text)).isFile() ? text : absolute(text);
  }

  const project_file_t &file;
  project_t &project;
  Faults &faults;
  const QDir directory;
  std::map<QString, const section_t *> sections; // by the names of components
};

} // namespace

void addComponents(const project_file_t &file, project_t &project, Faults &faults) {
  Gatherer(file, project, faults).gather();
}

} // namespace kelvarune::project
