// Everything that would end a run half-way, or let it run for nothing, is found before the first
// tool starts. The libraries know what is wrong with a file; here are the words and remedies.

#include "Checks.h"

#include "mechanism/Faults.h"
#include "pos/Faults.h"
#include "text/Literals.h"

#include <QFileInfo>

#include <optional>

#include <unistd.h>

using namespace kelvarune;

namespace {

bool may(int access, const QString &path) {
  return ::access(path.toUtf8().constData(), access) == 0;
}

QString placed(const QString &file, int line, int column) {
  return "%1:%2:%3: "_s.arg(file, QString::number(line), QString::number(column));
}

QStringList faultsOfGoal(const play_options_t &options, const QDomDocument &document) {
  const std::optional<pos::goal_name_t> name = pos::goalNameOfStr(options.goal);
  // The director takes a filter apart at all its dots.
  if (!name || name->tag.contains(QLatin1Char('.')))
    return {
        "--goal %1: must be TAG.N, with N counted from 1 and one dot only."_s.arg(options.goal)};
  for (const pos::obligation_t &obligation : pos::obligationsOf(document)) {
    if (obligation.tag != name->tag)
      continue;
    const int count = static_cast<int>(obligation.goals.size());
    if (name->number <= count)
      return {};
    return {"--goal %1: obligation %2 of %3 has %4 goal(s)."_s.arg(
        options.goal, name->tag, options.posPath, QString::number(count))};
  }
  return {"--goal %1: no obligation of %2 has the tag %3."_s.arg(options.goal, options.posPath,
                                                                 name->tag)};
}

QString textOf(const pos::fault_t &fault, const QString &file) {
  if (fault.kind == pos::fault_kind_t::UNREADABLE)
    return file + ": cannot be read; allow reading."_s;
  if (fault.kind == pos::fault_kind_t::MALFORMED)
    return placed(file, fault.line, fault.column) +
           "not well-formed XML (%1); restore the file, perhaps from %2~."_s.arg(fault.text, file);
  if (fault.kind == pos::fault_kind_t::NO_STATUSES)
    return placed(file, fault.line, fault.column) +
           "no status file, its root element is %1; --pos names the status file."_s.arg(fault.text);
  return placed(file, fault.line, fault.column) +
         "unknown status '%1' in goal %2 of obligation %3; correct it."_s.arg(
             fault.text, QString::number(fault.place.number), fault.place.tag);
}

QStringList faultsOfPos(const play_options_t &options) {
  QDomDocument document;
  QStringList faults;
  for (const pos::fault_t &fault : pos::readFaults(options.posPath, pos::use_t::COUNTING, document))
    faults << textOf(fault, options.posPath);
  if (faults.isEmpty() && !options.goal.isEmpty())
    faults = faultsOfGoal(options, document);
  return faults;
}

QString textOf(const mechanism::fault_t &fault, const QString &file) {
  using mechanism::fault_kind_t;
  const QString place = placed(file, fault.line, fault.column);
  const QString tool = "%1 of driver %2"_s.arg(fault.role, fault.driver);
  switch (fault.kind) {
  case fault_kind_t::UNREADABLE:
    return file + ": cannot be read; --mechanism names a description file."_s;
  case fault_kind_t::MALFORMED:
    return place + "not well-formed XML (%1); correct it."_s.arg(fault.text);
  case fault_kind_t::NO_MECHANISM:
    return file + ": has no element 'mechanism'; it is no mechanism description."_s;
  case fault_kind_t::MISSING_TOOL:
    return place + tool + " is missing; describe it."_s;
  case fault_kind_t::TOOL_NOT_FOUND:
    return place + tool + " not found; looked for the executable "_s + fault.text +
           (fault.places.isEmpty() ? QString() : " in "_s + fault.places.join(", "_s)) +
           "; install it, or name its place with --installdir or a resource file."_s;
  case fault_kind_t::UNKNOWN_WORD:
    return place + "%1 '%2' does not exist; there are %3."_s.arg(fault.name, fault.text,
                                                                 fault.known.join(", "_s));
  case fault_kind_t::UNKNOWN_DEFINITION:
    break;
  }
  return file + ": an 'expand' names a definition that does not exist; only the "
                "first 'definition' counts."_s;
}

// Faults of one description; adds the names of its drivers.
QStringList faultsOfMechanism(const QString &file, const play_options_t &options,
                              QStringList &drivers) {
  using mechanism::fault_kind_t;
  mechanism::mechanism_t mechanism;
  QStringList tools;
  QStringList definitions;
  QStringList others;
  for (const mechanism::fault_t &fault :
       mechanism::readFaults(file, mechanism, options.installDirs)) {
    const bool isTool =
        fault.kind == fault_kind_t::MISSING_TOOL || fault.kind == fault_kind_t::TOOL_NOT_FOUND;
    const bool isDefinition = fault.kind == fault_kind_t::UNKNOWN_DEFINITION;
    (isTool ? tools : isDefinition ? definitions : others) << textOf(fault, file);
  }
  drivers += mechanism.driver_names;
  const QStringList faults = tools + others;
  definitions.removeDuplicates(); // their text names none of them
  return faults.isEmpty() ? definitions : faults;
}

} // namespace

QStringList faultsOfFiles(const play_options_t &options) {
  QStringList faults;
  const auto check = [&](bool good, const QString &fault) {
    if (!good)
      faults << fault;
  };
  check(QFileInfo(options.posPath).isFile(),
        options.posPath + ": no such file; --pos names the status file."_s);
  check(!QFileInfo(options.posPath).isFile() || may(W_OK, options.posPath),
        options.posPath + ": not writable, results could not be saved; allow writing."_s);
  check(QFileInfo(options.pogPath).isFile() && QFileInfo(options.pogPath).isReadable(),
        options.pogPath + ": no readable file; --pog names the obligations."_s);
  check(QFileInfo(options.directory).isDir(),
        options.directory + ": no such directory; create it or change --directory."_s);
  check(!QFileInfo(options.directory).isDir() || may(W_OK | X_OK, options.directory),
        options.directory + ": not writable; --directory takes temporary files."_s);
  for (const QString &file : options.resources)
    check(QFileInfo(file).isReadable(),
          file + ": no readable file; --resources names resource files."_s);
  for (const std::string &directory : options.installDirs)
    check(QFileInfo(QString::fromStdString(directory)).isDir(),
          QString::fromStdString(directory) +
              ": no such directory; --installdir names directories of tools."_s);
  return faults;
}

QStringList faultsOfContents(const play_options_t &options) {
  QStringList faults = faultsOfPos(options);
  QStringList drivers;
  for (const QString &file : options.mechanisms)
    faults += faultsOfMechanism(file, options, drivers);
  if (faults.isEmpty() && !options.driver.isEmpty() && !drivers.contains(options.driver))
    faults << "--driver %1: no such driver; there are %2."_s.arg(options.driver,
                                                                 drivers.join(", "_s));
  return faults;
}

QStringList misdirectedDrivers(const play_options_t &options) {
  const std::optional<pos::goal_name_t> name = pos::goalNameOfStr(options.goal);
  if (!name)
    return {};
  QDomDocument document;
  pos::readFaults(options.posPath, pos::use_t::COUNTING, document);
  const QString first = pos::obligationsOf(document).front().tag;
  QStringList lines;
  if (first == name->tag)
    return lines;
  for (const QString &file : options.mechanisms) {
    mechanism::mechanism_t mechanism;
    mechanism::ofFile(file, mechanism, options.installDirs);
    for (const mechanism::driver_t &driver : mechanism.drivers) {
      const bool isPlayed = (options.driver.isEmpty() || driver.name == options.driver) &&
                            (!options.fast || driver.fast);
      if (isPlayed && driver.group == mechanism::group_t::RELATED)
        lines << "%1: driver %2 groups related goals, so its writer is asked for "
                 "that goal of the first obligation, %3, and its model is not one "
                 "of %4."_s.arg(file, driver.name, first, options.goal);
    }
  }
  return lines;
}
