#ifndef KELVARUNE_PROJECT_PROJECT_H
#define KELVARUNE_PROJECT_PROJECT_H

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

/// Projects: what a kelvarune.toml says of the components that are played and reported together.
/// docs/man/kelvarune.toml.5.md describes the file.
namespace kelvarune::project {

/// How the provers of a component are run. Paths are absolute; what the file leaves out is empty.
struct settings_t {
  QStringList mechanisms; ///< in their order: paths, and names of installed ones (without "/")
  QStringList installDirs;
  QStringList resources;
  QString timeLimit;   ///< seconds, as --time-limit takes them
  QString memoryLimit; ///< as --memory-limit takes it
  QString cache;       ///< the directory of kelvarune-cache
};

/// Paths are absolute; nothing need be there.
struct component_t {
  QString name; ///< no two of a project are the same
  QString pogPath;
  QString posPath;
  QStringList sources; ///< files and directories that kelvarune-goals makes the pair of
  settings_t settings;
};

struct project_t {
  QString path;      ///< absolute
  QString directory; ///< that it is in, which its paths are relative to
  QString name;
  QString jobs;                        ///< a number or "auto"
  QString reports;                     ///< the directory that reports go to
  std::vector<component_t> components; ///< in the project's order, at least one
  QStringList skipped;                 ///< names of the components that are left out

  /// A path as people read it: relative to the working directory when that is in the project or
  /// the path is below it.
  QString shown(const QString &path) const;
};

/// The kelvarune.toml in this directory or the nearest one above; empty when there is none.
QString find(const QString &fromDirectory);

/// Reads a project. Nothing when there are faults: each is a complete line with the place, and all
/// of them are told.
std::optional<project_t> load(const QString &path, QStringList &faults);

/// Those of the components that are named, in the project's order; all of them without a name. A
/// file or directory of a component is a name for it, too. What is not found is a fault.
std::vector<component_t> choose(const project_t &project, const QStringList &names,
                                QStringList &faults);

} // namespace kelvarune::project

#endif
