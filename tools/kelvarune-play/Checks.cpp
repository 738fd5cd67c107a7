// Everything that would end a run half-way, or let it run for nothing, is found before the first
// tool starts. The checks ask the libraries; they know no format of their own.

#include "Checks.h"

#include "mechanism/Mechanism.h"
#include "pos/PosCheck.h"
#include "pos/PosInternal.h"
#include "xml/XmlFile.h"

#include <QDir>
#include <QFileInfo>

#include <filesystem>
#include <stdexcept>

#include <unistd.h>

namespace {

bool may(int access, const QString &path) {
  return ::access(path.toUtf8().constData(), access) == 0;
}

QString placed(const QString &file, int line, int column) {
  return QStringLiteral("%1:%2:%3: ").arg(file, QString::number(line), QString::number(column));
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
    return {QStringLiteral("--goal %1: must be TAG.N, with N counted from 1 and one dot only.")
                .arg(options.goal)};
  for (const QDomElement &obligation :
       xml::children(document.documentElement(), pos::TAG_PROOF_OBLIGATION)) {
    if (tagOf(obligation) != parts[0])
      continue;
    int count = 0;
    for (const QDomElement &goal : xml::children(obligation, pos::TAG_SIMPLE_GOAL))
      count += goal.isNull() ? 0 : 1;
    if (number <= count)
      return {};
    return {QStringLiteral("--goal %1: obligation %2 of %3 has %4 goal(s).")
                .arg(options.goal, parts[0], options.posPath, QString::number(count))};
  }
  return {QStringLiteral("--goal %1: no obligation of %2 has the tag %3.")
              .arg(options.goal, options.posPath, parts[0])};
}

QStringList faultsOfPos(const play_options_t &options) {
  QDomDocument document;
  const xml::read_result_t read = xml::readDocument(options.posPath, document);
  if (!read.readable)
    return {options.posPath + QStringLiteral(": cannot be read; allow reading.")};
  if (!read.wellFormed)
    return {placed(options.posPath, read.line, read.column) +
            QStringLiteral("not well-formed XML (%1); restore the file, perhaps from %2~.")
                .arg(read.message, options.posPath)};
  QStringList faults;
  for (const pos::unknown_status_t &fault : pos::unknownStatuses(document))
    faults << placed(options.posPath, fault.line, fault.column) +
                  QStringLiteral("unknown status '%1' in goal %2 of obligation %3; correct it.")
                      .arg(fault.text, QString::number(fault.goal), fault.tag);
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
  return name + QStringLiteral(" in ") + places.join(QStringLiteral(", "));
}

// The fault of one tool of a driver, empty when there is none.
QString faultOfTool(const QString &file, const QDomElement &driver, const QString &tag,
                    const play_options_t &options) {
  const QString role =
      QStringLiteral("%1 of driver %2").arg(tag, driver.attribute(mechanism::ATTR_NAME));
  const QDomElement tool = driver.firstChildElement(tag);
  if (tool.isNull())
    return placed(file, driver) + role + QStringLiteral(" is missing; describe it.");
  std::filesystem::path path = mechanism::computePath(tool.attribute(mechanism::ATTR_PATH),
                                                      tool.attribute(mechanism::ATTR_RESOURCE))
                                   .toStdString();
  if (mechanism::checkToolExistence(path, options.installDirs))
    return QString();
  return placed(file, tool) + role +
         QStringLiteral(" not found; looked for the executable %1; install it, or name its place "
                        "with --installdir or a resource file.")
             .arg(placesSearched(path, options));
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
  return placed(file, element) +
         QStringLiteral("%1 '%2' does not exist; there are %3.")
             .arg(attribute, element.attribute(attribute), known.join(QStringLiteral(", ")));
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
    return {file + QStringLiteral(": cannot be read; --mechanism names a description file.")};
  if (!read.wellFormed)
    return {placed(file, read.line, read.column) +
            QStringLiteral("not well-formed XML (%1); correct it.").arg(read.message)};
  const QDomElement root = document.firstChildElement(mechanism::TAG_MECHANISM);
  if (root.isNull())
    return {file + QStringLiteral(": has no element 'mechanism'; it is no mechanism description.")};
  QStringList faults = faultsOfTools(file, root, options) + faultsOfWords(file, root);
  if (!faults.isEmpty())
    return faults;
  mechanism::mechanism_t mechanism;
  try {
    if (!mechanism::ofFile(file, mechanism, options.installDirs))
      return {file + QStringLiteral(": changed while it was checked; try again.")};
  } catch (const std::out_of_range &) {
    return {file + QStringLiteral(": an 'expand' names a definition that does not exist; only the "
                                  "first 'definition' counts.")};
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
        options.posPath + QStringLiteral(": no such file; --pos names the status file."));
  check(!QFileInfo(options.posPath).isFile() || may(W_OK, options.posPath),
        options.posPath +
            QStringLiteral(": not writable, results could not be saved; allow writing."));
  check(QFileInfo(options.pogPath).isFile() && QFileInfo(options.pogPath).isReadable(),
        options.pogPath + QStringLiteral(": no readable file; --pog names the obligations."));
  check(QFileInfo(options.directory).isDir(),
        options.directory +
            QStringLiteral(": no such directory; create it or change --directory."));
  check(!QFileInfo(options.directory).isDir() || may(W_OK | X_OK, options.directory),
        options.directory + QStringLiteral(": not writable; --directory takes temporary files."));
  for (const QString &file : options.resources)
    check(QFileInfo(file).isReadable(),
          file + QStringLiteral(": no readable file; --resources names resource files."));
  for (const std::string &directory : options.installDirs)
    check(QFileInfo(QString::fromStdString(directory)).isDir(),
          QString::fromStdString(directory) +
              QStringLiteral(": no such directory; --installdir names directories of tools."));
  return faults;
}

QStringList faultsOfContents(const play_options_t &options) {
  QStringList faults = faultsOfPos(options);
  QStringList drivers;
  for (const QString &file : options.mechanisms)
    faults += faultsOfMechanism(file, options, drivers);
  if (faults.isEmpty() && !options.driver.isEmpty() && !drivers.contains(options.driver))
    faults << QStringLiteral("--driver %1: no such driver; there are %2.")
                  .arg(options.driver, drivers.join(QStringLiteral(", ")));
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
        lines << QStringLiteral("%1: driver %2 groups related goals, so its writer is asked for "
                                "that goal of the first obligation, %3, and its model is not one "
                                "of %4.")
                     .arg(file, driver.name, first, options.goal);
    }
  }
  return lines;
}
