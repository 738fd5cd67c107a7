// A name on the command line that a file does not have is a mistake: to take it for "none of these"
// would report success where nothing was done.

#include "commands/Names.h"

#include "commandline/CommandTable.h"
#include "output/Output.h"
#include "output/Words.h"
#include "text/Literals.h"

#include <QRegExp>

#include <algorithm>

using namespace kelvarune;

namespace {

bool complainOfName(const QString &path, const QString &what, const QString &name,
                    QStringList known) {
  known.removeDuplicates();
  QStringList readable;
  for (const QString &word : std::as_const(known))
    readable.append(shown(word));
  const QString remedy =
      known.isEmpty() ? ", none is registered"_s : ", choose among "_s + readable.join(", "_s);
  complain(path + ": no "_s + what + " \""_s + name + QLatin1Char('"') +
           commandline::hintFor(name, known, remedy));
  return false;
}

} // namespace

std::vector<std::size_t> goalsNamed(const pos::goal_name_t &name,
                                    const std::vector<pos::goal_t> &goals, const QString &path) {
  std::vector<std::size_t> found;
  QStringList tags;
  int count = 0; // of the largest obligation of that tag
  for (std::size_t i = 0; i < goals.size(); ++i) {
    const pos::goal_place_t &place = goals[i].place;
    tags.append(place.tag);
    if (place.tag != name.tag)
      continue;
    count = std::max(count, place.number);
    if (place.number == name.number)
      found.push_back(i);
  }
  if (!found.empty())
    return found;
  const QString what = path + ": no goal "_s + textOf(name);
  if (count > 0) {
    complain(what + ": obligation "_s + shown(name.tag) + " has "_s + counted(count, "goal"));
    return found;
  }
  tags.removeDuplicates();
  complain(what + ": no obligation with goals is called "_s + shown(name.tag) +
           commandline::hintFor(name.tag, tags, ", kelvarune-pos goals lists them"_s));
  return found;
}

bool matchesTag(const pos::goal_place_t &place, const QString &glob) {
  return glob.isEmpty() ||
         QRegExp(glob, Qt::CaseSensitive, QRegExp::WildcardUnix).exactMatch(place.tag);
}

bool areRegistered(const std::optional<QString> &mechanism, const std::optional<QString> &driver,
                   const std::vector<pos::registered_t> &registered, const QString &path) {
  QStringList mechanisms;
  QStringList drivers;
  for (const pos::registered_t &candidate : registered) {
    mechanisms.append(candidate.name);
    if (!mechanism || candidate.name == *mechanism)
      drivers += candidate.drivers;
  }
  if (mechanism && !mechanisms.contains(*mechanism))
    return complainOfName(path, "mechanism"_s, *mechanism, mechanisms);
  if (driver && !drivers.contains(*driver))
    return complainOfName(path, "driver"_s, *driver, drivers);
  return true;
}
