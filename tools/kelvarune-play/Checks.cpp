// Everything that would end a run half-way, or let it run for nothing, is found before the first
// tool starts. The libraries know what is wrong with a file; here are the words and remedies.

#include "Checks.h"

#include "InStep.h"
#include "Limits.h"
#include "Registered.h"
#include "commandline/CommandTable.h"
#include "files/Installed.h"
#include "mechanism/Faults.h"
#include "mechanism/Remarks.h"
#include "model/Goals.h"
#include "output/Output.h"
#include "pos/Faults.h"
#include "text/Literals.h"

#include <QDir>
#include <QFileInfo>

#include <optional>
#include <utility>

#include <unistd.h>

using namespace kelvarune;

namespace {

bool may(int access, const QString &path) {
  return ::access(path.toUtf8().constData(), access) == 0;
}

QStringList faultsOfGoal(const QString &text, const play_options_t &options, inputs_t &inputs) {
  const std::optional<pos::goal_name_t> name = pos::goalNameOfStr(text);
  if (!name)
    return {"--goal %1: must be TAG.N, with N counted from 1."_s.arg(text)};
  QStringList tags;
  for (const pos::obligation_t &obligation : pos::obligationsOf(inputs.document)) {
    tags << obligation.tag;
    if (obligation.tag != name->tag)
      continue;
    const int count = static_cast<int>(obligation.goals.size());
    if (name->number > count)
      return {"--goal %1: obligation %2 of %3 has %4 goal(s)."_s.arg(
          text, name->tag, options.posPath, QString::number(count))};
    inputs.goals.push_back(*name);
    return {};
  }
  return {"--goal %1: no obligation of %2 has the tag %3%4."_s.arg(
      text, options.posPath, name->tag, commandline::hintFor(name->tag, tags))};
}

QString wordsFor(const pos::fault_t &fault, const QString &file) {
  switch (fault.kind) {
  case pos::fault_kind_t::UNREADABLE:
    return file + ": cannot be read; allow reading."_s;
  case pos::fault_kind_t::MALFORMED:
    return placed(file, fault.line, fault.column) +
           "not well-formed XML (%1); restore the file, perhaps from %2~."_s.arg(fault.text, file);
  case pos::fault_kind_t::NO_STATUSES:
    return placed(file, fault.line, fault.column) +
           "no status file, its root element is %1; --pos names the status file."_s.arg(fault.text);
  default:
    break;
  }
  return placed(file, fault.line, fault.column) +
         "unknown status '%1' in goal %2 of obligation %3; correct it."_s.arg(
             fault.text, QString::number(fault.place.number), fault.place.tag);
}

QStringList faultsOfStatusFile(const QString &file, QDomDocument &document) {
  QStringList faults;
  for (const pos::fault_t &fault : pos::readFaults(file, pos::use_t::COUNTING, document))
    faults << wordsFor(fault, file);
  return faults;
}

/// Whether a file of --mechanism-directory is there for each registered mechanism, as kelvarune
/// needs it; they are played in the order in which they are registered.
QStringList faultsOfRegistered(play_options_t &options, const inputs_t &inputs) {
  options.mechanisms.clear();
  QStringList faults;
  for (const pos::registered_t &registered : pos::registeredMechanisms(inputs.document)) {
    const QString file = QDir(options.mechanismDirectory).filePath(registered.name + ".xml"_s);
    if (QFileInfo(file).isReadable())
      options.mechanisms << file;
    else
      faults << "%1: no description of the mechanism %2, which is registered in %3."_s.arg(
          file, registered.name, options.posPath);
  }
  if (options.mechanisms.isEmpty() && faults.isEmpty())
    faults << options.posPath +
                  ": no mechanism is registered, nothing can be replayed; leave out --replay."_s;
  return faults;
}

QStringList faultsOfPos(play_options_t &options, inputs_t &inputs) {
  QStringList faults = faultsOfStatusFile(options.posPath, inputs.document);
  if (!options.against.isEmpty())
    faults += faultsOfStatusFile(options.against, inputs.against);
  if (!faults.isEmpty())
    return faults;
  for (const QString &goal : std::as_const(options.goals))
    faults += faultsOfGoal(goal, options, inputs);
  if (faults.isEmpty())
    faults = faultsOfStep(options, inputs.document);
  if (options.failed)
    inputs.goals = failedGoals(inputs.document, inputs.unnamedGoals);
  if (options.replay && !options.mechanismDirectory.isEmpty())
    faults += faultsOfRegistered(options, inputs);
  return faults;
}

/// What may have been meant by a name that is no file's.
QString wordsForInstalled(const QString &name) {
  if (name.contains(QLatin1Char('/')) || name.contains(QLatin1Char('.')))
    return QString();
  const QStringList names = installed::mechanisms();
  return commandline::hintFor(
      name, names, names.isEmpty() ? QString() : "; installed are "_s + names.join(", "_s));
}

QString wordsFor(const mechanism::fault_t &fault, const QString &file) {
  using mechanism::fault_kind_t;
  const QString place = placed(file, fault.line, fault.column);
  const QString tool = "%1 of driver %2"_s.arg(fault.role, fault.driver);
  switch (fault.kind) {
  case fault_kind_t::UNREADABLE:
    return file + ": cannot be read; --mechanism names a description file"_s +
           wordsForInstalled(file) + "."_s;
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

QStringList faultsOfMechanism(const QString &file, const play_options_t &options,
                              inputs_t &inputs) {
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
    (isTool ? tools : isDefinition ? definitions : others) << wordsFor(fault, file);
  }
  inputs.mechanisms.push_back(std::move(mechanism));
  const QStringList faults = tools + others;
  definitions.removeDuplicates(); // their text names none of them
  return faults.isEmpty() ? definitions : faults;
}

/// Whether --driver and --fast leave anything to play.
QStringList faultsOfDrivers(const play_options_t &options, const inputs_t &inputs) {
  QStringList names;
  QStringList fast;
  bool some = options.driver.isEmpty() && !options.fast;
  for (const mechanism::mechanism_t &mechanism : inputs.mechanisms) {
    names += mechanism.driver_names;
    for (const mechanism::driver_t &driver : mechanism.drivers) {
      some = some || options.plays(driver.name, driver.fast);
      if (driver.fast)
        fast << driver.name;
    }
  }
  const QString fastNames = fast.isEmpty() ? "no driver is"_s : fast.join(", "_s) + " are"_s;
  if (!options.driver.isEmpty() && !names.contains(options.driver))
    return {"--driver %1: no such driver%2; there are %3."_s.arg(
        options.driver, commandline::hintFor(options.driver, names), names.join(", "_s))};
  if (!some)
    return {"--fast: nothing to play; %1 marked as fast."_s.arg(fastNames)};
  return {};
}

/// Whether everything that is to be replayed is registered.
QStringList faultsOfReplay(const play_options_t &options, const inputs_t &inputs) {
  QStringList faults;
  for (const mechanism::mechanism_t &mechanism : inputs.mechanisms) {
    const QString name = QString::fromStdString(mechanism.name);
    if (const auto goal = goalWithout(inputs.document, name))
      faults << "%1: the mechanism %2 is not registered with goal %3; leave out --replay to play "
                "it first."_s.arg(options.posPath, name, pos::strOfGoalName(*goal));
  }
  return faults;
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
  const bool isWritten = options.isRecorded() && !options.dryRun;
  check(!isWritten || !QFileInfo(options.posPath).isFile() || may(W_OK, options.posPath),
        options.posPath + ": not writable, results could not be saved; allow writing."_s);
  check(QFileInfo(options.pogPath).isFile() && QFileInfo(options.pogPath).isReadable(),
        options.pogPath + ": no readable file; --pog names the obligations."_s);
  const bool isPrivate = options.directory.isEmpty();
  const QString directory = isPrivate ? QDir::tempPath() : options.directory;
  check(QFileInfo(directory).isDir(),
        directory + (isPrivate ? ": no such directory; change TMPDIR or name one by --directory."_s
                               : ": no such directory; create it or change --directory."_s));
  check(!QFileInfo(directory).isDir() || may(W_OK | X_OK, directory),
        directory + ": not writable; --directory takes temporary files."_s);
  check(options.against.isEmpty() || QFileInfo(options.against).isFile(),
        options.against + ": no such file; --against names a status file."_s);
  for (const QString &program : wrappingPrograms(options))
    check(QFileInfo(program).isExecutable(),
          program + ": no such program; limits and cache need it there."_s);
  for (const QString &file : options.resources)
    check(QFileInfo(file).isReadable(),
          file + ": no readable file; --resources names resource files."_s);
  for (const std::string &place : options.installDirs)
    check(QFileInfo(QString::fromStdString(place)).isDir(),
          QString::fromStdString(place) +
              ": no such directory; --installdir names directories of tools."_s);
  return faults;
}

QStringList faultsOfContents(play_options_t &options, inputs_t &inputs) {
  QStringList faults = faultsOfPos(options, inputs);
  for (const QString &file : std::as_const(options.mechanisms))
    faults += faultsOfMechanism(file, options, inputs);
  if (faults.isEmpty())
    faults = faultsOfDrivers(options, inputs);
  if (faults.isEmpty() && options.replay)
    faults = faultsOfReplay(options, inputs);
  return faults;
}

QStringList oddities(const play_options_t &options, const inputs_t &inputs) {
  QStringList lines;
  if (inputs.unnamedGoals > 0)
    lines << "%1: %2 left out, as an obligation before has the same tag."_s.arg(
        options.posPath, counted(inputs.unnamedGoals, "goal"));
  for (const mechanism::remark_t &remark : mechanism::readRemarks(options.mechanisms))
    lines << placed(remark.file, remark.line, remark.column) + remark.text;
  for (std::size_t i = 0; i < inputs.mechanisms.size() && options.isRecorded(); ++i) {
    const mechanism::mechanism_t &mechanism = inputs.mechanisms[i];
    const QStringList gone = goneDrivers(inputs.document, mechanism);
    if (!gone.isEmpty())
      lines << "%1: %2 of %3 in %4: not in the description any more; what stands there stays."_s
                   .arg(options.mechanisms[static_cast<int>(i)],
                        (gone.size() == 1 ? "driver "_s : "drivers "_s) + gone.join(", "_s),
                        QString::fromStdString(mechanism.name), options.posPath);
  }
  return lines;
}
