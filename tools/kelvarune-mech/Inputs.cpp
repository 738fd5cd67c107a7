#include "Inputs.h"

#include "output/Output.h"
#include "resource/ResourceManager.h"
#include "text/Literals.h"

#include <QDir>
#include <QFileInfo>

using namespace kelvarune;

bool loadPlaces(const options_t &options) {
  init_resource_manager();
  for (const QString &file : options.resources) {
    if (!QFileInfo(file).isFile() || !QFileInfo(file).isReadable()) {
      complain(file + ": no readable file; --resources names resource files"_s);
      return false;
    }
    load_resources(file.toUtf8().constData());
    if (has_unfinished_line(file.toUtf8().constData()))
      complain(file + ": the last line is not read; end it with a line break"_s);
  }
  for (const std::string &directory : options.installDirs) {
    const QString path = QString::fromStdString(directory);
    if (!QFileInfo(path).isDir()) {
      complain(path + ": no such directory; --installdir names directories of tools"_s);
      return false;
    }
  }
  return true;
}

std::optional<QStringList> descriptionsIn(const QStringList &paths) {
  QStringList files;
  for (const QString &path : paths) {
    if (!QFileInfo(path).isDir()) {
      files << path;
      continue;
    }
    const QDir directory(path);
    const QStringList names =
        directory.entryList({"*.xml"_s}, QDir::Files | QDir::CaseSensitive, QDir::Name);
    if (names.isEmpty()) {
      complain(path + ": has no description, no file *.xml"_s);
      return {};
    }
    for (const QString &name : names)
      files << directory.filePath(name);
  }
  return files;
}
