// One name of the pattern after the other, as shells do it; glob(3) lacks "**".

#include "project/Glob.h"

#include "text/Literals.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>

namespace kelvarune::project {

namespace {

const QString ANY_DEPTH = QStringLiteral("**");

void match(const QDir &directory, const QStringList &names, int at, QStringList &found) {
  const QString &name = names[at];
  const bool isLast = at + 1 == names.size();
  const auto take = [&](const QString &entry) {
    const QString path = directory.absoluteFilePath(entry);
    if (isLast)
      found << QDir::cleanPath(path);
    else
      match(QDir(path), names, at + 1, found);
  };
  if (name == ANY_DEPTH) {
    match(directory, names, at + 1, found);
    for (const QString &below :
         directory.entryList(QDir::Dirs | QDir::NoSymLinks | QDir::NoDotAndDotDot))
      match(QDir(directory.absoluteFilePath(below)), names, at, found);
  } else if (!isPattern(name)) {
    if (QFileInfo::exists(directory.absoluteFilePath(name)))
      take(name);
  } else {
    const QRegularExpression wanted(QRegularExpression::wildcardToRegularExpression(name));
    const auto hidden = name.startsWith(QLatin1Char('.')) ? QDir::Hidden : QDir::Filters();
    for (const QString &entry :
         directory.entryList(QDir::AllEntries | QDir::NoDotAndDotDot | hidden))
      if (wanted.match(entry).hasMatch())
        take(entry);
  }
}

} // namespace

bool isPattern(const QString &text) {
  static const QRegularExpression wild("[*?[]"_s);
  return text.contains(wild);
}

QStringList matches(const QString &directory, const QString &pattern) {
  if (!isPattern(pattern))
    return {QDir::cleanPath(QDir(directory).absoluteFilePath(pattern))};
  const bool isAbsolute = pattern.startsWith(QLatin1Char('/'));
  QStringList names = pattern.split(QLatin1Char('/'), Qt::SkipEmptyParts);
  if (names.last() == ANY_DEPTH)
    names << "*"_s;
  QStringList found;
  match(QDir(isAbsolute ? "/"_s : directory), names, 0, found);
  std::sort(found.begin(), found.end());
  found.removeDuplicates();
  return found;
}

} // namespace kelvarune::project
