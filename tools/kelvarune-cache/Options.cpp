// The wrapper's own options end at the first word that is none, the prover. The prover's words are
// taken from the original command line: decoding them into text and back would change arguments
// that are no text.

#include "kelvarune-cache/Options.h"

#include <QCommandLineParser>
#include <QFile>
#include <QHash>

#include <iostream>

namespace cache {

namespace {

constexpr int PREFIXES = 5;
const char PREFIX_OF_POWER[PREFIXES] = {'\0', 'K', 'M', 'G', 'T'};

const QHash<QString, policy_t> &modeOfName() {
  static const QHash<QString, policy_t> modes = {{QStringLiteral("none"), policy_t::NONE},
                                                 {QStringLiteral("update"), policy_t::UPDATE},
                                                 {QStringLiteral("replay"), policy_t::REPLAY},
                                                 {QStringLiteral("rebuild"), policy_t::REBUILD},
                                                 {QStringLiteral("offline"), policy_t::OFFLINE},
                                                 {QStringLiteral("cleanup"), policy_t::CLEANUP}};
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

bool parseSize(QString text, std::uint64_t &bytes) {
  std::uint64_t unit = 1;
  for (int power = 1; power < PREFIXES; ++power) {
    if (text.endsWith(QLatin1Char(PREFIX_OF_POWER[power]), Qt::CaseInsensitive)) {
      text.chop(1);
      unit = std::uint64_t(1) << (10 * power);
      break;
    }
  }
  bool isNumber = false;
  bytes = text.toUInt(&isNumber) * unit;
  return isNumber;
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
  Option mode{QStringLiteral("mode"),
              QStringLiteral("none, update (the default), replay, rebuild, offline or cleanup."),
              QStringLiteral("mode")};
  Option directory{QStringLiteral("directory"), QStringLiteral("Where the answers are kept."),
                   QStringLiteral("dir")};
  Option maxSize{QStringLiteral("max-size"),
                 QStringLiteral("Disk space for the answers, with K, M, G or T; 0: no bound."),
                 QStringLiteral("size"), QStringLiteral("1G")};
  Option goalFile{QStringLiteral("goal-file"),
                  QStringLiteral("File that holds the goals; its content counts, not its name. "
                                 "May be repeated."),
                  QStringLiteral("file")};
  Option standardInput{QStringLiteral("stdin"),
                       QStringLiteral("Goals come on standard input too, beside --goal-file.")};
  Option versionText{QStringLiteral("version-text"),
                     QStringLiteral("Stands for the prover's file in the key."),
                     QStringLiteral("text")};
  Option definite{QStringLiteral("definite"),
                  QStringLiteral("Some line must match for an answer to be stored."),
                  QStringLiteral("regex"), QStringLiteral("unsat|sat")};
  Option indefinite{
      QStringLiteral("indefinite"), QStringLiteral("No line may match."), QStringLiteral("regex"),
      QStringLiteral("unknown|timeout|.*interrupted.*|.*out of memory.*|\\(error.*|error.*")};
  Option statuses{QStringLiteral("statuses"),
                  QStringLiteral("Exit statuses with which an answer may be stored."),
                  QStringLiteral("list"), QStringLiteral("0")};
  Option unusedFor{QStringLiteral("unused-for"),
                   QStringLiteral("With mode cleanup: remove answers unused for so many days."),
                   QStringLiteral("days")};

  QList<Option> all() const {
    return {mode,        directory, maxSize,    goalFile, standardInput,
            versionText, definite,  indefinite, statuses, unusedFor};
  }
};

bool readSettings(const QCommandLineParser &parser, const declarations_t &declared,
                  options_t &options) {
  QString mode = parser.value(declared.mode);
  if (mode.isEmpty())
    mode = environment("KELVARUNE_CACHE_MODE");
  if (mode.isEmpty())
    mode = QStringLiteral("update");
  if (!modeOfName().contains(mode))
    return fail(QStringLiteral("there is no mode '") + mode + QLatin1Char('\''));
  options.mode = modeOfName().value(mode);

  QString directory = parser.value(declared.directory);
  if (directory.isEmpty())
    directory = environment("KELVARUNE_CACHE");
  options.directory = directory.isEmpty() ? defaultDirectory() : directory.toStdString();

  if (!parseSize(parser.value(declared.maxSize), options.maxBytes))
    return fail(QStringLiteral("--max-size: no size: ") + parser.value(declared.maxSize));
  if (!parseStatuses(parser.value(declared.statuses), options.statuses))
    return fail(QStringLiteral("--statuses: no list of exit statuses: ") +
                parser.value(declared.statuses));
  bool isNumber = true;
  if (parser.isSet(declared.unusedFor))
    options.unusedDays = parser.value(declared.unusedFor).toDouble(&isNumber);
  if (!isNumber || !(options.unusedDays >= 0))
    return fail(QStringLiteral("--unused-for: no number of days: ") +
                parser.value(declared.unusedFor));
  if (!parsePattern(parser.value(declared.definite), options.patterns.definite) ||
      !parsePattern(parser.value(declared.indefinite), options.patterns.indefinite))
    return fail(QStringLiteral("--definite, --indefinite: no regular expression"));

  options.versionText = parser.value(declared.versionText).toStdString();
  for (const QString &file : parser.values(declared.goalFile))
    options.goalFiles.push_back(file.toStdString());
  options.readsStandardInput = options.goalFiles.empty() || parser.isSet(declared.standardInput);
  return true;
}

} // namespace

bool parseOptions(int argc, char **argv, options_t &options) {
  QCommandLineParser parser;
  parser.setApplicationDescription(QStringLiteral(
      "Runs a prover, or repeats the answer that it gave to the same goals before."));
  parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
  parser.addHelpOption();
  parser.addVersionOption();
  const declarations_t declared;
  parser.addOptions(declared.all());
  parser.addPositionalArgument(QStringLiteral("prover"),
                               QStringLiteral("The prover, with its arguments."),
                               QStringLiteral("[--] prover [argument...]"));

  QStringList words;
  for (int i = 0; i < argc; ++i)
    words.append(QString::fromUtf8(argv[i]));
  if (!parser.parse(words))
    return fail(parser.errorText());
  if (parser.isSet(QStringLiteral("help")))
    parser.showHelp(EXIT_SUCCESS);
  if (parser.isSet(QStringLiteral("version")))
    parser.showVersion();
  if (!readSettings(parser, declared, options))
    return false;
  options.command.assign(argv + argc - parser.positionalArguments().size(), argv + argc);
  if (options.command.empty() && options.mode != policy_t::CLEANUP)
    return fail(QStringLiteral("no prover is named; see --help"));
  return true;
}

} // namespace cache
