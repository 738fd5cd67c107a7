// Everything that would end a run half-way, or let it run for nothing, is found before the first
// tool starts. The checks ask the libraries; they know no format of their own.

#include "Checks.h"

#include "mechanism/Mechanism.h"
#include "pos/PosCheck.h"
#include "pos/PosInternal.h"
#include "text/Literals.h"
#include "xml/XmlFile.h"

#include <QDir>
#include <QFileInfo>

#include <filesystem>
#include <stdexcept>

#include <unistd.h>

using namespace kelvarune;

namespace {

bool may(int access, const QString &path) {
  return ::access(path.toUtf8().constData(), access) == 0;
}

QString placed(const QString &file, int line, int column) {
  return "%1:%2:%3: "_s.arg(file, QString::number(line), QString::number(column));
}

QString placed(const QString &file, const QDomElement &element) {
  return placed(file, element.lineNumber(), element.columnNumber());
}

QString tagOf(const QDomElement &obligation) {
  return obligation.firstChildElement(pos::TAG_TAG).text();
}

QStringList faultsOfGoal(const play_options_t &options, const QDomDocument &document) {
  const QStringList parts = options.goal.split(QLatin1Char('.'));
  bool isNumber = false;
  const int number = parts.value(1).toInt(&isNumber);
  if (parts.size() != 2 || !isNumber || number < 1)
    return {
        "--goal %1: must be TAG.N, with N counted from 1 and one dot only."_s.arg(options.goal)};
  for (const QDomElement &obligation :
       xml::children(document.documentElement(), pos::TAG_PROOF_OBLIGATION)) {
    if (tagOf(obligation) != parts[0])
      continue;
    int count = 0;
    for (const QDomElement &goal : xml::children(obligation, pos::TAG_SIMPLE_GOAL))
      count += goal.isNull() ? 0 : 1;
    if (number <= count)
      return {};
    return {"--goal %1: obligation %2 of %3 has %4 goal(s)."_s.arg(
        options.goal, parts[0], options.posPath, QString::number(count))};
  }
  return {"--goal %1: no obligation of %2 has the tag %3."_s.arg(options.goal, options.posPath,
                                                                 parts[0])};
}

QStringList faultsOfPos(const play_options_t &options) {
  QDomDocument document;
  const xml::read_result_t read = xml::readDocument(options.posPath, document);
  if (!read.readable)
    return {options.posPath + ": cannot be read; allow reading."_s};
  if (!read.wellFormed)
    return {placed(options.posPath, read.line, read.column) +
            "not well-formed XML (%1); restore the file, perhaps from %2~."_s.arg(read.message,
                                                                                  options.posPath)};
  QStringList faults;
  for (const pos::unknown_status_t &fault : pos::unknownStatuses(document))
    faults << placed(options.posPath, fault.line, fault.column) +
                  "unknown status '%1' in goal %2 of obligation %3; correct it."_s.arg(
                      fault.text, QString::number(fault.goal), fault.tag);
  if (faults.isEmpty() && !options.goal.isEmpty())
    faults = faultsOfGoal(options, document);
  return faults;
}

QString placesSearched(const std::filesystem::path &path, const play_options_t &options) {
  QString name = QString::fromStdString(path.native());
  if (path.is_absolute())
    return name;
  QStringList places;
  for (const std::string &directory : options.installDirs)
    places << QString::fromStdString(directory);
  places << QDir::currentPath();
  return name + " in "_s + places.join(", "_s);
}

// The fault of one tool of a driver, empty when there is none.
QString faultOfTool(const QString &file, const QDomElement &driver, const QString &tag,
                    const play_options_t &options) {
  const QString role = "%1 of driver %2"_s.arg(tag, driver.attribute(mechanism::ATTR_NAME));
  const QDomElement tool = driver.firstChildElement(tag);
  if (tool.isNull())
    return placed(file, driver) + role + " is missing; describe it."_s;
  std::filesystem::path path = mechanism::computePath(tool.attribute(mechanism::ATTR_PATH),
                                                      tool.attribute(mechanism::ATTR_RESOURCE))
                                   .toStdString();
  if (mechanism::checkToolExistence(path, options.installDirs))
    return QString();
  return placed(file, tool) + role +
         " not found; looked for the executable %1; install it, or name its place "
         "with --installdir or a resource file."_s.arg(placesSearched(path, options));
}

QStringList faultsOfTools(const QString &file, const QDomElement &root,
                          const play_options_t &options) {
  QStringList faults;
  for (const QDomElement &driver : xml::children(root, mechanism::TAG_DRIVER)) {
    for (const QString &tag : {mechanism::TAG_WRITER, mechanism::TAG_PROVER, mechanism::TAG_READER})
      faults << faultOfTool(file, driver, tag, options);
  }
  faults.removeAll(QString());
  return faults;
}

template <typename Values>
QString faultOfWord(const QString &file, const QDomElement &element, const QString &attribute,
                    const Values &values) {
  if (!element.hasAttribute(attribute) || values.count(element.attribute(attribute)) > 0)
    return QString();
  QStringList known;
  for (const auto &[text, value] : values)
    known << text;
  return placed(file, element) + "%1 '%2' does not exist; there are %3."_s.arg(
                                     attribute, element.attribute(attribute), known.join(", "_s));
}

QStringList faultsOfWords(const QString &file, const QDomElement &root) {
  QStringList faults = {faultOfWord(file, root, mechanism::ATTR_TRUST, mechanism::trustOfXmlAttr)};
  for (const QDomElement &driver : xml::children(root, mechanism::TAG_DRIVER))
    faults << faultOfWord(file, driver, mechanism::ATTR_GROUP, mechanism::groupOfXmlAttr);
  faults.removeAll(QString());
  return faults;
}

// Faults of one description; adds the names of its drivers.
QStringList faultsOfMechanism(const QString &file, const play_options_t &options,
                              QStringList &drivers) {
  QDomDocument document;
  const xml::read_result_t read = xml::readDocument(file, document);
  if (!read.readable)
    return {file + ": cannot be read; --mechanism names a description file."_s};
  if (!read.wellFormed)
    return {placed(file, read.line, read.column) +
            "not well-formed XML (%1); correct it."_s.arg(read.message)};
  const QDomElement root = document.firstChildElement(mechanism::TAG_MECHANISM);
  if (root.isNull())
    return {file + ": has no element 'mechanism'; it is no mechanism description."_s};
  QStringList faults = faultsOfTools(file, root, options) + faultsOfWords(file, root);
  if (!faults.isEmpty())
    return faults;
  mechanism::mechanism_t mechanism;
  try {
    if (!mechanism::ofFile(file, mechanism, options.installDirs))
      return {file + ": changed while it was checked; try again."_s};
  } catch (const std::out_of_range &) {
    return {file + ": an 'expand' names a definition that does not exist; only the "
                   "first 'definition' counts."_s};
  }
  drivers += mechanism.driver_names;
  return {};
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
  QDomDocument document;
  xml::readDocument(options.posPath, document);
  const QString first =
      tagOf(document.documentElement().firstChildElement(pos::TAG_PROOF_OBLIGATION));
  const QString tag = options.goal.section(QLatin1Char('.'), 0, 0);
  QStringList lines;
  if (options.goal.isEmpty() || first == tag)
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
