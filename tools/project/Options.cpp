#include "project/Options.h"

#include "text/Literals.h"

#include <QDir>
#include <QFileInfo>

#include <unistd.h>

namespace kelvarune::project {

namespace {

/// Whether nobody else can have put a project here to have programs run.
bool isTrusted(const QString &path) {
  const QFileInfo file(path);
  const uint owner = file.ownerId();
  return owner == 0 || owner == ::geteuid() || owner == QFileInfo(QDir::currentPath()).ownerId() ||
         QDir(file.path()) == QDir::current();
}

} // namespace

const QCommandLineOption &configOption() {
  static const QCommandLineOption option = {
      "config"_s,
      "Project file (the kelvarune.toml in the working directory or the nearest one above)."_s,
      "FILE"_s};
  return option;
}

const QCommandLineOption &noConfigOption() {
  static const QCommandLineOption option = {"no-config"_s, "Look for no project file."_s};
  return option;
}

std::optional<project_t> fromOptions(const choice_t &choice, QStringList &faults) {
  if (choice.none && choice.config) {
    faults << "the options --config and --no-config do not go together"_s;
    return std::nullopt;
  }
  if (choice.config)
    return load(*choice.config, faults);
  const QString path = choice.none ? QString() : find(QDir::currentPath());
  if (path.isEmpty())
    return std::nullopt;
  if (!isTrusted(path)) {
    faults << path + ": belongs to another user; if it may run programs, name it by --config"_s;
    return std::nullopt;
  }
  return load(QDir::current().relativeFilePath(path), faults);
}

} // namespace kelvarune::project
