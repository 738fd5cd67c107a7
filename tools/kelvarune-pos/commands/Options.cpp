// One table says which subcommand takes which arguments and options; from it come the parser and
// the help of each, so that an option is refused where it would have no effect.

#include "commands/Options.h"

#include "output/Output.h"
#include "text/Literals.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <algorithm>
#include <vector>

using namespace kelvarune;

namespace {

struct command_t {
  const char *name;
  const char *arguments;
  std::vector<const char *> options;
  const char *description;
};

const std::vector<command_t> &knownCommands() {
  static const std::vector<command_t> table = {
      {"list", "FILE", {"json"}, "The registered mechanisms and their drivers."},
      {"stats", "FILE", {"json", "csv"}, "Totals, then a row per mechanism and driver."},
      {"goals", "FILE", {"status", "tag", "json", "csv"}, "A row per goal."},
      {"check", "FILE", {"json"}, "Goals whose status does not follow from their parts."},
      {"unprove", "FILE", {"dry-run"}, "Resets all results of mechanisms."},
      {"remove", "NAME FILE", {"dry-run"}, "Drops the mechanism NAME and its results."},
      {"diff", "OLD NEW", {"json"}, "Goals gained, lost, appeared, disappeared."},
      {"report", "FILE", {"html", "junit", "unproved", "output"}, "A page or a JUnit file."},
  };
  return table;
}

QCommandLineOption optionOf(const QString &name) {
  static const std::vector<QCommandLineOption> table = {
      {"json"_s, "Print JSON."_s},
      {"csv"_s, "Print CSV (RFC 4180)."_s},
      {"status"_s, "Only goals of these statuses, with commas."_s, "LIST"_s},
      {"tag"_s, "Only obligations whose tag matches: * ? [...]."_s, "GLOB"_s},
      {"dry-run"_s, "Say what would change, write nothing."_s},
      {"html"_s, "One self-contained HTML page."_s},
      {"junit"_s, "JUnit XML."_s},
      {"unproved"_s, "JUnit: unproved goals are skipped or failed."_s, "AS"_s, "skipped"_s},
      {{"o"_s, "output"_s}, "Write the report to this file."_s, "PATH"_s},
  };
  const auto hasName = [&name](const QCommandLineOption &option) {
    return option.names().contains(name);
  };
  return *std::find_if(table.begin(), table.end(), hasName);
}

QCommandLineOption helpOption() {
  return {{"h"_s, "help"_s}, "Show this help."_s};
}

QCommandLineOption versionOption() {
  return {{"v"_s, "version"_s}, "Show the version."_s};
}

parse_t refuse(const QString &what, const QString &command = QString()) {
  const QString blank = command.isEmpty() ? QString() : " "_s;
  complain(what + "; see kelvarune-pos "_s + command + blank + "--help"_s);
  return parse_t::REFUSED;
}

parse_t print(const QString &text) {
  return printOut(text.toUtf8()) ? parse_t::DONE : parse_t::REFUSED;
}

QString commandNames() {
  QStringList names;
  for (const command_t &command : knownCommands())
    names.append(QLatin1String(command.name));
  return names.join(", "_s);
}

QString programHelp() {
  QString text = "Usage: kelvarune-pos COMMAND [options] FILE\n"
                 "Shows, checks and resets proof obligation status files.\n\n"
                 "Commands:\n"_s;
  for (const command_t &command : knownCommands()) {
    const QString call =
        QLatin1String(command.name) + QLatin1Char(' ') + QLatin1String(command.arguments);
    text +=
        "  "_s + call.leftJustified(18) + QLatin1String(command.description) + QLatin1Char('\n');
  }
  return text + "\nOptions:\n"
                "  -h, --help        Show this help; COMMAND --help that of one.\n"
                "  -v, --version     Show the version.\n\n"
                "Exit status: 0 done; 1 check, diff: something was found; "
                "2 usage, input or output.\n"_s;
}

parse_t parseWithoutCommand(const QStringList &arguments) {
  QCommandLineParser parser;
  parser.addOptions({helpOption(), versionOption()});
  if (!parser.parse(arguments))
    return refuse(parser.errorText());
  if (parser.isSet(versionOption()))
    return print("kelvarune-pos "_s + QCoreApplication::applicationVersion() + QLatin1Char('\n'));
  if (parser.isSet(helpOption()))
    return print(programHelp());
  return refuse("A command is missing: "_s + commandNames());
}

// "unreliably-proved", "UnreliablyProved" and the like.
QString plain(QString text) {
  return text.remove(QLatin1Char('-')).remove(QLatin1Char('_')).trimmed().toLower();
}

bool readStatuses(const QString &list, std::set<pos::status_t> &statuses) {
  for (const QString &word : list.split(QLatin1Char(','))) {
    bool known = false;
    QStringList names;
    for (const auto &[status, text] : pos::strOfProofStatus_dict()) {
      names.append(text.toLower());
      if (names.last() != plain(word))
        continue;
      statuses.insert(status);
      known = true;
    }
    if (!known) {
      refuse("Unknown status \""_s + word + "\": choose among "_s + names.join(", "_s), "goals"_s);
      return false;
    }
  }
  return true;
}

parse_t checkReport(const QString &unproved, options_t &options) {
  if (options.html == options.junit)
    return refuse("Give either --html or --junit"_s, options.command);
  if (unproved != "skipped"_s && unproved != "failed"_s)
    return refuse("--unproved takes skipped or failed"_s, options.command);
  options.unprovedFails = unproved == "failed"_s;
  return parse_t::RUN;
}

parse_t takeArguments(const command_t &command, QStringList given, options_t &options) {
  const QStringList wanted = QString::fromLatin1(command.arguments).split(QLatin1Char(' '));
  if (given.size() != wanted.size())
    return refuse(options.command + " takes "_s + wanted.join(QLatin1Char(' ')), options.command);
  if (wanted.first() == "NAME"_s)
    options.name = given.takeFirst();
  options.files = given;
  const QString dash = "-"_s;
  if (given.contains(dash) || options.outputPath == dash)
    return refuse("\"-\" is not a file: give a path"_s, options.command);
  return parse_t::RUN;
}

} // namespace

parse_t parseOptions(const QStringList &arguments, options_t &options) {
  if (arguments.size() < 2 || arguments[1].startsWith(QLatin1Char('-')))
    return parseWithoutCommand(arguments);
  options.command = arguments[1];
  const auto isCommand = [&options](const command_t &command) {
    return options.command == QLatin1String(command.name);
  };
  const auto command = std::find_if(knownCommands().begin(), knownCommands().end(), isCommand);
  if (command == knownCommands().end())
    return refuse("Unknown command \""_s + options.command + "\": choose among "_s +
                  commandNames());

  QCommandLineParser parser;
  parser.setApplicationDescription(QLatin1String(command->description));
  for (const char *name : command->options)
    parser.addOption(optionOf(QLatin1String(name)));
  parser.addOptions({helpOption(), versionOption()});
  parser.addPositionalArgument(options.command, QString(), options.command);
  for (const QString &name : QString::fromLatin1(command->arguments).split(QLatin1Char(' ')))
    parser.addPositionalArgument(name, QString(), name);

  if (!parser.parse(arguments))
    return refuse(parser.errorText(), options.command);
  if (parser.isSet(versionOption()))
    return parseWithoutCommand({arguments.first(), "--version"_s});
  if (parser.isSet(helpOption()))
    return print(parser.helpText());

  // Asking for an option that the command does not have would be a warning on standard error.
  const auto isSet = [&parser, command](const char *name) {
    const auto &known = command->options;
    const auto same = [name](const char *other) {
      return QLatin1String(name) == QLatin1String(other);
    };
    return std::any_of(known.begin(), known.end(), same) && parser.isSet(QLatin1String(name));
  };
  options.json = isSet("json");
  options.csv = isSet("csv");
  options.dryRun = isSet("dry-run");
  options.html = isSet("html");
  options.junit = isSet("junit");
  if (isSet("output"))
    options.outputPath = parser.value("output"_s);
  if (isSet("tag"))
    options.tagGlob = parser.value("tag"_s);
  if (isSet("status") && !readStatuses(parser.value("status"_s), options.statuses))
    return parse_t::REFUSED;
  if (options.json && options.csv)
    return refuse("Give either --json or --csv"_s, options.command);
  if (options.command == "report"_s &&
      checkReport(parser.value("unproved"_s), options) != parse_t::RUN)
    return parse_t::REFUSED;
  return takeArguments(*command, parser.positionalArguments().mid(1), options);
}
