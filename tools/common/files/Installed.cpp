#include "files/Installed.h"

#include "text/Literals.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

using namespace kelvarune;

namespace {

QDir directory() {
  return QDir(QCoreApplication::applicationDirPath() + "/../share/kelvarune/mechanisms"_s);
}

} // namespace

QString installed::mechanism(const QString &name) {
  return mechanisms().contains(name)
             ? QDir::cleanPath(directory().absoluteFilePath(name + ".xml"_s))
             : QString();
}

QStringList installed::mechanisms() {
  QStringList names;
  for (const QString &file : directory().entryList({"*.xml"_s}, QDir::Files, QDir::Name))
    names << QFileInfo(file).completeBaseName();
  return names;
}

std::vector<std::string> installed::toolDirectories() {
  std::vector<std::string> directories = {QCoreApplication::applicationDirPath().toStdString()};
  for (const QByteArray &place : qgetenv("PATH").split(':')) {
    // Not the working directory, which an empty or relative place is below.
    if (place.startsWith('/') && QFileInfo(QString::fromUtf8(place)).isDir())
      directories.push_back(place.toStdString());
  }
  return directories;
}
