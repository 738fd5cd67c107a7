#include "director/SecondaryFileSubjects.h"

#include "director/Arguments.h"

#include <set>

namespace kelvarune {

namespace {

// A name of a secondary file is this text, numbers for the goal and the extension. A driver whose
// name ends in numbers could make the files of another one.
QString withoutNumbers(QString name) {
  while (true) {
    int end = name.size();
    while (end > 0 && name[end - 1].isDigit())
      --end;
    if (end == name.size() || end == 0 || name[end - 1] != QLatin1Char('_'))
      return name;
    name.truncate(end - 1);
  }
}

} // namespace

std::vector<std::string> secondaryFileSubjects(const std::string &directory,
                                               const std::string &pogPath,
                                               const mechanism::mechanism_t &mechanism) {
  const QString base = baseNameOfPog(QString::fromStdString(pogPath));
  std::set<std::string> subjects;
  for (const QString &driver : mechanism.driver_names) {
    const QString name = base + QLatin1Char('_') + QString::fromStdString(mechanism.name) +
                         QLatin1Char('_') + driver;
    subjects.insert(directory + '/' + withoutNumbers(name).toStdString());
  }
  return {subjects.begin(), subjects.end()};
}

} // namespace kelvarune
