#include "kelvarune-cache/Options.h"

#include "text/Literals.h"
#include "wrapper/CommandLine.h"
#include "wrapper/Quantities.h"

#include <QFile>
#include <QHash>

#include <iostream>

using namespace kelvarune;

namespace cache {

namespace {

const QHash<QString, policy_t> &modeOfName() {
  static const QHash<QString, policy_t> modes = {
      {"none"_s, policy_t::NONE},       {"update"_s, policy_t::UPDATE},
      {"replay"_s, policy_t::REPLAY},   {"rebuild"_s, policy_t::REBUILD},
      {"offline"_s, policy_t::OFFLINE}, {"cleanup"_s, policy_t::CLEANUP}};
  return modes;
}

bool fail(const QString &message) {
  std::cerr << "kelvarune-cache: " << message.toStdString() << std::endl;
  return false;
}

QString environment(const char *name) {
  return QString::fromUtf8(qgetenv(name));
}

std::string defaultDirectory() {
  QByteArray base = qgetenv("XDG_CACHE_HOME");
  if (base.isEmpty())
    base = qgetenv("HOME") + "/.cache";
  return (base + "/kelvarune").toStdString();
}

bool parseStatuses(const QString &text, std::set<int> &statuses) {
  for (const QString &word : text.split(QLatin1Char(','))) {
    bool isNumber = false;
    const int status = word.toInt(&isNumber);
    if (!isNumber || status < 0 || status > 255)
      return false;
    statuses.insert(status);
  }
  return true;
}

bool parsePattern(const QString &text, QRegularExpression &pattern) {
  pattern.setPattern(QRegularExpression::anchoredPattern(text));
  return pattern.isValid();
}

/// The options, declared once; the parser knows them by these objects.
struct declarations_t {
  using Option = QCommandLineOption;
  Option mode{"mode"_s, "none, update (the default), replay, rebuild, offline or cleanup."_s,
              "mode"_s};
  Option directory{"directory"_s, "Where the answers are kept."_s, "dir"_s};
  Option maxSize{"max-size"_s, "Disk space for the answers, with K, M, G or T; 0: no bound."_s,
                 "size"_s, "1G"_s};
  Option goalFile{"goal-file"_s,
                  "File that holds the goals; its content counts, not its name. "
                  "May be repeated."_s,
                  "file"_s};
  Option standardInput{"stdin"_s, "Goals come on standard input too, beside --goal-file."_s};
  Option versionText{"version-text"_s, "Stands for the prover's file in the key."_s, "text"_s};
  Option definite{"definite"_s, "Some line must match for an answer to be stored."_s, "regex"_s,
                  "unsat|sat"_s};
  Option indefinite{"indefinite"_s, "No line may match."_s, "regex"_s,
                    "unknown|timeout|.*interrupted.*|.*out of memory.*|\\(error.*|error.*"_s};
  Option statuses{"statuses"_s, "Exit statuses with which an answer may be stored."_s, "list"_s,
                  "0"_s};
  Option unusedFor{"unused-for"_s, "With mode cleanup: remove answers unused for so many days."_s,
                   "days"_s};
  Option stats{"stats"_s, "Without a prover: tell how many questions had an answer."_s};
  Option zeroStats{"zero-stats"_s, "Without a prover: count from here on."_s};

  QList<Option> all() const {
    return {mode,     directory,  maxSize,  goalFile,  standardInput, versionText,
            definite, indefinite, statuses, unusedFor, stats,         zeroStats};
  }
};

bool readSettings(const QCommandLineParser &parser, const declarations_t &declared,
                  options_t &options) {
  QString mode = parser.value(declared.mode);
  if (mode.isEmpty())
    mode = environment("KELVARUNE_CACHE_MODE");
  if (mode.isEmpty())
    mode = "update"_s;
  if (!modeOfName().contains(mode))
    return fail("there is no mode '"_s + mode + QLatin1Char('\''));
  options.mode = modeOfName().value(mode);

  QString directory = parser.value(declared.directory);
  if (directory.isEmpty())
    directory = environment("KELVARUNE_CACHE");
  options.directory = directory.isEmpty() ? defaultDirectory() : directory.toStdString();

  if (!wrapper::parseSize(parser.value(declared.maxSize), options.maxBytes))
    return fail("--max-size: no size: "_s + parser.value(declared.maxSize));
  if (!parseStatuses(parser.value(declared.statuses), options.statuses))
    return fail("--statuses: no list of exit statuses: "_s + parser.value(declared.statuses));
  bool isNumber = true;
  if (parser.isSet(declared.unusedFor))
    options.unusedDays = parser.value(declared.unusedFor).toDouble(&isNumber);
  if (!isNumber || !(options.unusedDays >= 0))
    return fail("--unused-for: no number of days: "_s + parser.value(declared.unusedFor));
  if (!parsePattern(parser.value(declared.definite), options.patterns.definite) ||
      !parsePattern(parser.value(declared.indefinite), options.patterns.indefinite))
    return fail("--definite, --indefinite: no regular expression"_s);

  options.tellsStats = parser.isSet(declared.stats);
  options.resetsCounts = parser.isSet(declared.zeroStats);
  options.versionText = parser.value(declared.versionText).toStdString();
  for (const QString &file : parser.values(declared.goalFile))
    options.goalFiles.push_back(file.toStdString());
  options.readsStandardInput = options.goalFiles.empty() || parser.isSet(declared.standardInput);
  return true;
}

} // namespace

bool parseOptions(int argc, char **argv, options_t &options) {
  QCommandLineParser parser;
  parser.setApplicationDescription(
      "Runs a prover, or repeats the answer that it gave to the same goals before."_s);
  const declarations_t declared;
  parser.addOptions(declared.all());
  const QString fault = wrapper::parse(parser, argc, argv, options.command);
  if (!fault.isNull())
    return fail(fault);
  if (!readSettings(parser, declared, options))
    return false;
  const bool isAboutCounts = options.tellsStats || options.resetsCounts;
  if (isAboutCounts && !options.command.empty())
    return fail("--stats and --zero-stats go without a prover"_s);
  if (options.command.empty() && options.mode != policy_t::CLEANUP && !isAboutCounts)
    return fail("no prover is named; see --help"_s);
  return true;
}

} // namespace cache
