// Locates a mechanism's tools. A resource has the last word on where a tool is, so that a site can
// point to its own installation without touching the descriptions. Paths are composed as text and
// not resolved further: a tool that is a link runs under the name of the link.

#include "mechanism/Mechanism.h"
#include "resource/ResourceManager.h"

#include <QDir>

#include <system_error>

namespace fs = std::filesystem;

namespace mechanism {

namespace {

bool isExecutable(const fs::path &file) {
  std::error_code error; // Only asks for the form that does not throw: the status says it all.
  const fs::file_status status = fs::status(file, error);
  return fs::is_regular_file(status) &&
         (status.permissions() & fs::perms::owner_exec) != fs::perms::none;
}

bool findIn(const fs::path &directory, fs::path &path) {
  fs::path candidate = directory / path;
  if (!isExecutable(candidate)) {
    if (path.has_extension())
      return false;
    candidate += ".exe";
    if (!isExecutable(candidate))
      return false;
  }
  path = candidate;
  return true;
}

} // namespace

QString computePath(const QString &defaultPath, const QString &resource) {
  if (resource.isEmpty())
    return defaultPath;
  const QByteArray key = resource.mid(resource.lastIndexOf(QLatin1Char('*')) + 1).toUtf8();
  const QString value = QString::fromLatin1(lookup_resource("Proof", key.constData()));
  const QString path = QDir::cleanPath(value);
  return path.isEmpty() ? defaultPath : path;
}

bool checkToolExistence(fs::path &path, const std::vector<std::string> &installDirs) {
  if (path.has_root_directory())
    return isExecutable(path);
  for (const std::string &directory : installDirs) {
    if (findIn(fs::canonical(directory), path))
      return true;
  }
  std::error_code error;
  const fs::path workingDirectory = fs::current_path(error);
  return !error && findIn(workingDirectory, path);
}

} // namespace mechanism
