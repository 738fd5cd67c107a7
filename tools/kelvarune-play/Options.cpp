// The letters are those of kelvarune, so that a command line can be carried over.

#include "Options.h"

#include "commandline/CommandTable.h"
#include "files/Installed.h"
#include "history/Records.h"
#include "output/Output.h"
#include "project/Options.h"
#include "text/Literals.h"
#include "wrapper/Quantities.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <iostream>
#include <optional>
#include <utility>
#include <vector>

#include <sched.h>

using namespace kelvarune;

namespace {

/// An option by its names; the value's name is empty for one that takes none.
struct option_t {
  const char *letter;
  const char *name;
  const char *value;
  const char *description;
};

constexpr char STOP_ON_FAILURE[] = "stop-on-failure";

constexpr option_t OPTIONS[] = {
    {"r", "resources", "FILE", "Resource file (optional, may be repeated)."},
    {"i", "installdir", "DIR", "Tools installation directory (optional, may be repeated)."},
    {"m", "mechanism", "FILE",
     "File with a proof mechanism description, or the name of an installed one (may be repeated)."},
    {"M", "mechanism-directory", "DIR",
     "Directory whose proof mechanism descriptions (*.xml) are played in name order."},
    {"s", "pos", "FILE", "File with proof obligation statuses."},
    {"p", "pog", "FILE", "File with proof obligations."},
    {"", "sources", "PATH",
     "Files with goals that kelvarune-goals makes the two of, or a directory of them (may be "
     "repeated)."},
    {"d", "directory", "DIR",
     "Directory for temporary files (a private one below TMPDIR unless given)."},
    {"c", "concurrency", "N",
     "Number of goals or groups of goals proved at once (1, or as many as a make that runs this "
     "program allows); auto: one for each processor that may be used, or as make allows."},
    {"t", "trace", "N", "Trace level; 1 traces the director (0)."},
    {"x", "xml", "", "XML-tagged output."},
    {"", "driver", "NAME", "Play this driver only."},
    {"", "goal", "TAG.N",
     "Play goal N (from 1) of the obligation TAG only (may be repeated), print its model, and "
     "leave the status file alone."},
    {"", "failed", "", "As --goal for each goal that is not proved."},
    {"", "record", "", "With --goal or --failed: keep the verdicts in the status file."},
    {"", "explain", "",
     "With --goal or --failed: tell for each driver what its tools did and said, and the commands "
     "that repeat it. Secondary files are kept."},
    {"", "log", "DIR",
     "Write one text file, as --explain tells it, for each goal or group of goals that was not "
     "proved."},
    {"", "fast", "", "Play drivers marked as fast only."},
    {"", "retry", "", "Play the drivers again that have left goals unknown."},
    {"", "replay", "",
     "Replay what is registered instead, as kelvarune does. Exit with status 1 when proofs are "
     "lost."},
    {"", "against", "FILE", "With --replay: the proofs of this status file must not be lost."},
    {"", STOP_ON_FAILURE, "N",
     "Stop after N failures (=N may be left out: 1): goals or groups of goals of which one is "
     "disproved, or whose tools fail."},
    {"", "time-limit", "SECONDS", "End every prover after that time, with all it has started."},
    {"", "memory-limit", "SIZE",
     "End every prover, with all it has started, that takes more memory; with K, M, G or T."},
    {"", "cache", "DIR",
     "Keep the definite answers of every prover in this directory, and do not run it again for the "
     "same question."},
    {"", "dry-run", "", "Tell what would be played, with -v every command, and change nothing."},
    {"", "color", "WHEN", "Colours in explanations: auto (on a terminal), always or never."},
    {"", "shard", "K/N",
     "Play the K-th (from 1) of N equal parts of the goals, on a copy of the status file "
     "(comp.K-of-N.pos); kelvarune-pos merge brings the copies together."},
    {"", "no-check", "",
     "Play although the status file is out of step with the proof obligations."},
    {"", "history", "FILE",
     "Record what each entry took in this file (comp.history beside comp.pos)."},
    {"", "no-history", "", "Record nothing."},
    {"", "no-wait", "", "Give up when another run uses the status file, instead of waiting."},
    {"", "strict", "", "Exit with status 1 when some goal of the component is not proved."},
};

/// Options of which the first makes no sense with the second.
constexpr std::pair<const char *, const char *> CONFLICTS[] = {
    {"goal", "failed"},  {"replay", "goal"}, {"replay", "failed"}, {"replay", "record"},
    {"replay", "retry"}, {"explain", "xml"}, {"dry-run", "xml"},   {"shard", "goal"},
    {"shard", "failed"}, {"config", "pos"},  {"config", "pog"},    {"history", "no-history"},
};

QStringList namesOf(const option_t &option) {
  QStringList names = {QString::fromLatin1(option.name)};
  if (*option.letter)
    names.prepend(QString::fromLatin1(option.letter));
  return names;
}

/// The parser's options take a value always or never: one that may have one gets it here.
QStringList withValues(QStringList words) {
  const QString name = "--"_s + QLatin1String(STOP_ON_FAILURE);
  std::replace(words.begin(), words.end(), name, name + "=1"_s);
  return words;
}

bool refuse(const QString &reason) {
  std::cerr << "kelvarune-play: " << reason.toStdString() << " Try --help." << std::endl;
  return false;
}

QString textOfError(const QCommandLineParser &parser) {
  const QString unknown = parser.unknownOptionNames().value(0);
  if (unknown.size() < 2) // nothing is like a letter
    return parser.errorText();
  QStringList known = {"--help"_s, "--version"_s, "--config"_s, "--no-config"_s};
  for (const option_t &option : OPTIONS)
    known << "--"_s + QLatin1String(option.name);
  return "Unknown option '--%1'%2."_s.arg(unknown, commandline::hintFor("--"_s + unknown, known));
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

/// How many processors this process may use, at least 1.
int usableProcessors() {
  constexpr std::size_t MOST_SETS = 64;
  // A set that is too small for the machine is refused.
  for (std::size_t count = 1; count <= MOST_SETS; count *= 2) {
    std::vector<cpu_set_t> sets(count);
    const std::size_t bytes = count * sizeof(cpu_set_t);
    if (::sched_getaffinity(0, bytes, sets.data()) == 0)
      return std::max(1, CPU_COUNT_S(bytes, sets.data()));
  }
  return 1;
}

/// Reads the options that stand for themselves.
void takeValues(const QCommandLineParser &parser, play_options_t &options) {
  options.resources = parser.values("resources"_s);
  for (const QString &value : parser.values("installdir"_s))
    options.installDirs.push_back(value.toStdString());
  options.mechanisms = parser.values("mechanism"_s);
  options.mechanismDirectory = parser.value("mechanism-directory"_s);
  options.posPath = parser.value("pos"_s);
  options.pogPath = parser.value("pog"_s);
  options.sources = parser.values("sources"_s);
  options.directory = parser.value("directory"_s);
  options.driver = parser.value("driver"_s);
  options.goals = parser.values("goal"_s);
  options.against = parser.value("against"_s);
  options.cache = parser.value("cache"_s);
  options.log = parser.value("log"_s);
  if (!parser.isSet("no-history"_s)) // before a part gets a copy of the status file
    options.history = parser.isSet("history"_s) ? parser.value("history"_s)
                                                : history::pathBeside(options.posPath);
  options.failed = parser.isSet("failed"_s);
  options.record = parser.isSet("record"_s);
  options.explain = parser.isSet("explain"_s);
  options.retry = parser.isSet("retry"_s);
  options.replay = parser.isSet("replay"_s);
  options.wait = !parser.isSet("no-wait"_s);
  options.noCheck = parser.isSet("no-check"_s);
  options.dryRun = parser.isSet("dry-run"_s);
  options.fast = parser.isSet("fast"_s);
  options.strict = parser.isSet("strict"_s);
  options.xml = parser.isSet("xml"_s);
}

bool takeNumbers(const QCommandLineParser &parser, play_options_t &options) {
  const QString jobs = parser.value("concurrency"_s);
  int number = 0;
  if (jobs == "auto"_s)
    number = usableProcessors();
  else if (!integerOf(jobs, 1, number) || number < 1)
    return refuse("The concurrency must be a number from 1."_s);
  options.concurrency = static_cast<unsigned int>(number);
  options.hasJobs = !jobs.isEmpty() && jobs != "auto"_s;
  if (!integerOf(parser.value("trace"_s), 0, options.trace))
    return refuse("The trace level must be a number."_s);
  if (!integerOf(parser.value(QLatin1String(STOP_ON_FAILURE)), 0, number) || number < 0 ||
      (parser.isSet(QLatin1String(STOP_ON_FAILURE)) && number == 0))
    return refuse("The number of failures must be a number from 1."_s);
  options.stopAfter = static_cast<unsigned long>(number);
  options.timeLimit = parser.value("time-limit"_s);
  options.memoryLimit = parser.value("memory-limit"_s);
  std::chrono::milliseconds time = {};
  std::uint64_t size = 0;
  if (parser.isSet("time-limit"_s) &&
      !(wrapper::parseSeconds(options.timeLimit, time) && time.count() > 0))
    return refuse("The time limit must be a number of seconds above 0."_s);
  if (parser.isSet("memory-limit"_s) &&
      !(wrapper::parseSize(options.memoryLimit, size) && size > 0))
    return refuse("The memory limit must be a number of bytes above 0, with K, M, G or T."_s);
  return true;
}

bool takeShard(const QCommandLineParser &parser, play_options_t &options) {
  if (!parser.isSet("shard"_s))
    return true;
  const QStringList numbers = parser.value("shard"_s).split(QLatin1Char('/'));
  const unsigned int part = numbers[0].toUInt();
  options.shards = numbers.value(1).toUInt();
  options.shard = part - 1;
  return (numbers.size() == 2 && part >= 1 && part <= options.shards) ||
         refuse("--shard takes K/N: two numbers, K from 1 to N."_s);
}

/// Why a command line without files is none of a project; empty when that is clear.
QString wordsWithoutProject(const QCommandLineParser &parser) {
  const bool isClear =
      parser.isSet("pos"_s) || parser.isSet("pog"_s) || parser.isSet("no-config"_s);
  return isClear ? QString() : " There is no kelvarune.toml here or above."_s;
}

/// Whether the two files are as kelvarune-goals makes them.
bool areTogether(const play_options_t &options) {
  const QString suffix = ".pog"_s;
  return options.pogPath.endsWith(suffix) &&
         options.posPath == options.pogPath.chopped(suffix.size()) + ".pos"_s;
}

/// Whether the options go together.
bool check(const QCommandLineParser &parser, const play_options_t &options) {
  // An empty value, perhaps of an unset variable, would silently mean everything.
  if ((parser.isSet("driver"_s) && options.driver.isEmpty()) || options.goals.contains(QString()))
    return refuse("The options --driver and --goal need a value that is not empty."_s);
  if (parser.isSet("color"_s) && !setColour(parser.value("color"_s)))
    return refuse("--color takes auto, always or never."_s);
  for (const char *name : {"directory", "log", "against", "history", "cache"}) {
    if (parser.isSet(QLatin1String(name)) && parser.value(QLatin1String(name)).isEmpty())
      return refuse("The option --%1 needs a value that is not empty."_s.arg(QLatin1String(name)));
  }
  if (options.posPath.isEmpty() || options.pogPath.isEmpty())
    return refuse("The options --pos and --pog are needed."_s + wordsWithoutProject(parser));
  if (!options.sources.isEmpty() && !areTogether(options))
    return refuse("With --sources, --pog names a file X.pog and --pos X.pos beside it."_s);
  const bool mayChoose = !options.sources.isEmpty() && options.mechanisms.isEmpty();
  if (!mayChoose && options.mechanisms.isEmpty() == options.mechanismDirectory.isEmpty())
    return refuse("Either --mechanism or --mechanism-directory is needed, and not both."_s);
  for (const auto &[first, second] : CONFLICTS) {
    if (parser.isSet(QLatin1String(first)) && parser.isSet(QLatin1String(second)))
      return refuse("The options --%1 and --%2 do not go together."_s.arg(QLatin1String(first),
                                                                          QLatin1String(second)));
  }
  for (const char *name : {"explain", "record"}) {
    if (parser.isSet(QLatin1String(name)) && !options.isForSomeGoals())
      return refuse("The option --%1 needs --goal or --failed."_s.arg(QLatin1String(name)));
  }
  return options.against.isEmpty() || options.replay ||
         refuse("The option --against needs --replay."_s);
}

/// Reads the words; false after telling what cannot be read.
bool parseWords(QCommandLineParser &parser, const QStringList &words) {
  parser.setApplicationDescription(
      "Registers proof mechanisms in a POS file and plays their drivers on its goals.\n\n"
      "Without --pos and --pog: plays the components NAME, or all, of a project, side by side.\n\n"
      "Exit status: 0 the run completed; 1 with --strict, some goal is not proved, with --replay\n"
      "some proof is lost, with --stop-on-failure some goal is disproved; 2 unusable command line\n"
      "or input; 3 some tool or save failed; 128+N stopped by signal N."_s);
  for (const option_t &option : OPTIONS)
    parser.addOption(QCommandLineOption(namesOf(option), QString::fromLatin1(option.description),
                                        QString::fromLatin1(option.value)));
  parser.addOptions({project::configOption(), project::noConfigOption()});
  const QCommandLineOption help({"h"_s, "help"_s}, "Show this help."_s); // Qt's adds --help-all
  parser.addOption(help);
  const QCommandLineOption version = parser.addVersionOption();
  parser.addPositionalArgument("NAME"_s, "A component of the project."_s, "[NAME...]"_s);
  if (!parser.parse(withValues(words)))
    return refuse(textOfError(parser));
  if (parser.isSet(help))
    parser.showHelp(0);
  if (parser.isSet(version) && !(parser.isSet("dry-run"_s) && words.contains("-v"_s)))
    parser.showVersion();
  return true;
}

/// Fills in what the command line asks of a project. Nothing when there is none, false after
/// telling what is wrong with it.
std::optional<bool> takeProject(const QCommandLineParser &parser, project_request_t &request) {
  project::choice_t choice;
  choice.none = parser.isSet("no-config"_s);
  if (parser.isSet("config"_s))
    choice.config = parser.value("config"_s);
  QStringList faults;
  const std::optional<project::project_t> found = project::fromOptions(choice, faults);
  std::for_each(faults.begin(), faults.end(), complain);
  if (!found)
    return faults.isEmpty() ? std::nullopt : std::optional(false);
  request.project = *found;
  request.names = parser.positionalArguments();
  for (const option_t &option : OPTIONS) {
    const QString name = QString::fromLatin1(option.name);
    if (parser.isSet(name))
      request.given[name] = parser.values(name);
  }
  return true;
}

/// Reads what is asked of one component.
bool takeAll(const QCommandLineParser &parser, play_options_t &options) {
  if (!parser.positionalArguments().isEmpty())
    return refuse("Unexpected argument '%1'."_s.arg(parser.positionalArguments().first()) +
                  wordsWithoutProject(parser));
  takeValues(parser, options);
  if (!takeNumbers(parser, options) || !takeShard(parser, options) || !check(parser, options))
    return false;
  findInstalled(options);
  if (!options.mechanismDirectory.isEmpty())
    options.mechanisms = descriptionsIn(options.mechanismDirectory);
  return !options.mechanisms.isEmpty() || options.mechanismDirectory.isEmpty() ||
         refuse("No mechanism description (*.xml) in "_s + options.mechanismDirectory + "."_s);
}

} // namespace

void findInstalled(play_options_t &options) {
  bool some = false;
  for (QString &mechanism : options.mechanisms) {
    const QString file = QFileInfo::exists(mechanism) ? QString() : installed::mechanism(mechanism);
    if (!file.isEmpty())
      mechanism = file;
    some = some || !file.isEmpty();
  }
  if (!some)
    return;
  for (const std::string &directory : installed::toolDirectories())
    options.installDirs.push_back(directory);
}

command_line_t parseOptions(const QStringList &words, play_options_t &options,
                            project_request_t &request) {
  QCommandLineParser parser;
  if (!parseWords(parser, words))
    return command_line_t::REFUSED;
  options.verbose = parser.isSet("dry-run"_s) && words.contains("-v"_s);
  if (!parser.isSet("pos"_s) && !parser.isSet("pog"_s)) {
    const std::optional<bool> isProject = takeProject(parser, request);
    request.verbose = options.verbose;
    if (isProject)
      return *isProject ? command_line_t::PROJECT : command_line_t::REFUSED;
  }
  return takeAll(parser, options) ? command_line_t::COMPONENT : command_line_t::REFUSED;
}
