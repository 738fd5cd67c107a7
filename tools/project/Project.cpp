#include "project/Project.h"

#include "commandline/CommandTable.h"
#include "project/Components.h"
#include "project/ProjectFile.h"
#include "text/Literals.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <set>

namespace kelvarune::project {

namespace {

const QString FILE_NAME = QStringLiteral("kelvarune.toml");

bool isBelow(const QString &path, const QString &directory) {
  return path == directory || directory == "/"_s || path.startsWith(directory + QLatin1Char('/'));
}

QStringList namesOf(const project_t &project) {
  QStringList names;
  for (const component_t &component : project.components)
    names << component.name;
  return names;
}

bool isCalled(const component_t &component, const QString &name) {
  const QString path = QDir::cleanPath(QDir::current().absoluteFilePath(name));
  return component.name == name || component.pogPath == path || component.posPath == path ||
         component.sources.contains(path);
}

} // namespace

QString project_t::shown(const QString &path) const {
  const QString here = QDir::currentPath();
  const bool isNear = isBelow(path, here) || (isBelow(here, directory) && isBelow(path, directory));
  return isNear ? QDir(here).relativeFilePath(path) : path;
}

QString find(const QString &fromDirectory) {
  QDir directory(fromDirectory);
  do {
    if (QFileInfo(directory.filePath(FILE_NAME)).isFile())
      return directory.absoluteFilePath(FILE_NAME);
  } while (directory.cdUp());
  return QString();
}

std::optional<project_t> load(const QString &path, QStringList &faults) {
  Faults found;
  const project_file_t file = readProjectFile(path, found);
  project_t project;
  project.path = QFileInfo(path).absoluteFilePath();
  project.directory = QDir::cleanPath(QFileInfo(path).absolutePath());
  project.name = file.top.has("name") ? file.top.text("name") : QDir(project.directory).dirName();
  project.jobs = file.top.has("jobs") ? file.top.text("jobs") : "auto"_s;
  project.reports = QDir::cleanPath(
      QDir(project.directory)
          .absoluteFilePath(file.top.has("reports") ? file.top.text("reports") : "reports"_s));
  addComponents(file, project, found);
  if (found.isEmpty() && project.components.empty())
    found.add({}, "no component is left to play; 'components' names them"_s);
  faults += found.lines(path);
  return found.isEmpty() ? std::optional(project) : std::nullopt;
}

std::vector<component_t> choose(const project_t &project, const QStringList &names,
                                QStringList &faults) {
  if (names.isEmpty())
    return project.components;
  std::set<QString> chosen;
  for (const QString &name : names) {
    const auto before = chosen.size();
    for (const component_t &component : project.components)
      if (isCalled(component, name))
        chosen.insert(component.name);
    if (chosen.size() > before || chosen.count(name) > 0)
      continue;
    const QStringList known = namesOf(project);
    faults << (project.skipped.contains(name)
                   ? "component %1: %2 skips it"_s.arg(name, project.shown(project.path))
                   : "no component is called %1%2"_s.arg(
                         name,
                         commandline::hintFor(name, known, "; there are "_s + known.join(", "_s))));
  }
  std::vector<component_t> components;
  for (const component_t &component : project.components)
    if (chosen.count(component.name) > 0)
      components.push_back(component);
  return components;
}

} // namespace kelvarune::project
