// The letters are those of kelvarune, so that a command line can be carried over.

#include "Options.h"

#include "text/Literals.h"

#include <QCommandLineParser>
#include <QDir>

#include <iostream>

using namespace kelvarune;

namespace {

QCommandLineOption option(const char *letter, const char *name, const char *description,
                          const char *value = "") {
  QStringList names = {QString::fromLatin1(name)};
  if (*letter)
    names.prepend(QString::fromLatin1(letter));
  return {names, QString::fromLatin1(description), QString::fromLatin1(value)};
}

bool refuse(const std::string &reason) {
  std::cerr << "kelvarune-play: " << reason << " Try --help." << std::endl;
  return false;
}

bool integerOf(const QString &text, int fallback, int &value) {
  bool isNumber = true;
  value = text.isEmpty() ? fallback : text.toInt(&isNumber);
  return isNumber;
}

QStringList descriptionsIn(const QString &directory) {
  const QDir dir(directory);
  QStringList files;
  // kelvarune finds a mechanism by its name and ".xml" in exactly this spelling.
  for (const QString &name :
       dir.entryList({"*.xml"_s}, QDir::Files | QDir::CaseSensitive, QDir::Name))
    files << dir.filePath(name);
  return files;
}

} // namespace

bool parseOptions(const QStringList &words, play_options_t &options) {
  const QCommandLineOption resources =
      option("r", "resources", "Resource file (optional, may be repeated).", "FILE");
  const QCommandLineOption installDir =
      option("i", "installdir", "Tools installation directory (optional, may be repeated).", "DIR");
  const QCommandLineOption mechanism = option(
      "m", "mechanism", "File with a proof mechanism description (may be repeated).", "FILE");
  const QCommandLineOption mechanismDirectory = option(
      "M", "mechanism-directory",
      "Directory whose proof mechanism descriptions (*.xml) are played in name order.", "DIR");
  const QCommandLineOption posFile =
      option("s", "pos", "File with proof obligation statuses.", "FILE");
  const QCommandLineOption pogFile = option("p", "pog", "File with proof obligations.", "FILE");
  const QCommandLineOption directory =
      option("d", "directory", "Directory for temporary files.", "DIR");
  const QCommandLineOption concurrency =
      option("c", "concurrency", "Number of goals or groups of goals proved at once (1).", "N");
  const QCommandLineOption trace =
      option("t", "trace", "Trace level; 1 traces the director (0).", "N");
  const QCommandLineOption xml = option("x", "xml", "XML-tagged output.");
  const QCommandLineOption driver = option("", "driver", "Play this driver only.", "NAME");
  const QCommandLineOption goal = option(
      "", "goal",
      "Play goal N (from 1) of the obligation TAG only, print its model, and leave its status.",
      "TAG.N");
  const QCommandLineOption fast = option("", "fast", "Play drivers marked as fast only.");
  const QCommandLineOption strict =
      option("", "strict", "Exit with status 1 when some goal of the component is not proved.");

  QCommandLineParser parser;
  parser.setApplicationDescription(
      "Registers proof mechanisms in a POS file and plays their drivers on its goals.\n\n"
      "Exit status: 0 the run completed; 1 with --strict, some goal is not proved; 2 unusable\n"
      "command line or input; 3 some tool or save failed; 128+N stopped by signal N."_s);
  parser.addOptions({resources, installDir, mechanism, mechanismDirectory, posFile, pogFile,
                     directory, concurrency, trace, xml, driver, goal, fast, strict});
  const QCommandLineOption help = parser.addHelpOption();
  const QCommandLineOption version = parser.addVersionOption();
  if (!parser.parse(words))
    return refuse(parser.errorText().toStdString());
  if (parser.isSet(help))
    parser.showHelp(0);
  if (parser.isSet(version))
    parser.showVersion();
  if (!parser.positionalArguments().isEmpty())
    return refuse("Unexpected argument '" + parser.positionalArguments().first().toStdString() +
                  "'.");

  // An empty value, perhaps of an unset variable, would silently mean everything.
  if ((parser.isSet(driver) && parser.value(driver).isEmpty()) ||
      (parser.isSet(goal) && parser.value(goal).isEmpty()))
    return refuse("The options --driver and --goal need a value that is not empty.");

  options.resources = parser.values(resources);
  for (const QString &value : parser.values(installDir))
    options.installDirs.push_back(value.toStdString());
  options.mechanisms = parser.values(mechanism);
  options.mechanismDirectory = parser.value(mechanismDirectory);
  options.posPath = parser.value(posFile);
  options.pogPath = parser.value(pogFile);
  options.directory = parser.value(directory);
  options.driver = parser.value(driver);
  options.goal = parser.value(goal);
  options.fast = parser.isSet(fast);
  options.strict = parser.isSet(strict);
  options.xml = parser.isSet(xml);

  int jobs = 0;
  if (!integerOf(parser.value(concurrency), 1, jobs) || jobs < 1)
    return refuse("The concurrency must be a number from 1.");
  options.concurrency = static_cast<unsigned int>(jobs);
  if (!integerOf(parser.value(trace), 0, options.trace))
    return refuse("The trace level must be a number.");
  if (options.posPath.isEmpty() || options.pogPath.isEmpty() || options.directory.isEmpty())
    return refuse("The options --pos, --pog and --directory are needed.");
  if (options.mechanisms.isEmpty() == options.mechanismDirectory.isEmpty())
    return refuse("Either --mechanism or --mechanism-directory is needed, and not both.");
  if (!options.mechanismDirectory.isEmpty())
    options.mechanisms = descriptionsIn(options.mechanismDirectory);
  if (options.mechanisms.isEmpty())
    return refuse("No mechanism description (*.xml) in " +
                  options.mechanismDirectory.toStdString() + ".");
  return true;
}
