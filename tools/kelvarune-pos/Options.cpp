// One table says which subcommand takes which arguments and options; from it come the parser and
// the help of each, so that an option is refused where it would have no effect.

#include "Options.h"

#include "Output.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <algorithm>
#include <vector>

namespace {

struct command_t {
  const char *name;
  const char *arguments;
  std::vector<const char *> options;
  const char *description;
};

const std::vector<command_t> &commands() {
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
      {QStringLiteral("json"), QStringLiteral("Print JSON.")},
      {QStringLiteral("csv"), QStringLiteral("Print CSV (RFC 4180).")},
      {QStringLiteral("status"), QStringLiteral("Only goals of these statuses, with commas."),
       QStringLiteral("LIST")},
      {QStringLiteral("tag"), QStringLiteral("Only obligations whose tag matches: * ? [...]."),
       QStringLiteral("GLOB")},
      {QStringLiteral("dry-run"), QStringLiteral("Say what would change, write nothing.")},
      {QStringLiteral("html"), QStringLiteral("One self-contained HTML page.")},
      {QStringLiteral("junit"), QStringLiteral("JUnit XML.")},
      {QStringLiteral("unproved"), QStringLiteral("JUnit: unproved goals are skipped or failed."),
       QStringLiteral("AS"), QStringLiteral("skipped")},
      {{QStringLiteral("o"), QStringLiteral("output")},
       QStringLiteral("Write the report to this file."),
       QStringLiteral("PATH")},
  };
  const auto hasName = [&name](const QCommandLineOption &option) {
    return option.names().contains(name);
  };
  return *std::find_if(table.begin(), table.end(), hasName);
}

QCommandLineOption helpOption() {
  return {{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help.")};
}

QCommandLineOption versionOption() {
  return {{QStringLiteral("v"), QStringLiteral("version")}, QStringLiteral("Show the version.")};
}

parse_t refuse(const QString &what, const QString &command = QString()) {
  const QString blank = command.isEmpty() ? QString() : QStringLiteral(" ");
  complain(what + QStringLiteral("; see kelvarune-pos ") + command + blank +
           QStringLiteral("--help"));
  return parse_t::REFUSED;
}

parse_t print(const QString &text) {
  return printOut(text.toUtf8()) ? parse_t::DONE : parse_t::REFUSED;
}

QString commandNames() {
  QStringList names;
  for (const command_t &command : commands())
    names.append(QLatin1String(command.name));
  return names.join(QStringLiteral(", "));
}

QString programHelp() {
  QString text = QStringLiteral("Usage: kelvarune-pos COMMAND [options] FILE\n"
                                "Looks into and looks after proof obligation status files.\n\n"
                                "Commands:\n");
  for (const command_t &command : commands()) {
    const QString call =
        QLatin1String(command.name) + QLatin1Char(' ') + QLatin1String(command.arguments);
    text += QStringLiteral("  ") + call.leftJustified(18) + QLatin1String(command.description) +
            QLatin1Char('\n');
  }
  return text + QStringLiteral("\nOptions:\n"
                               "  -h, --help        Show this help; COMMAND --help that of one.\n"
                               "  -v, --version     Show the version.\n\n"
                               "Exit status: 0 done; 1 check, diff: something was found; "
                               "2 usage, input or output.\n");
}

parse_t parseWithoutCommand(const QStringList &arguments) {
  QCommandLineParser parser;
  parser.addOptions({helpOption(), versionOption()});
  if (!parser.parse(arguments))
    return refuse(parser.errorText());
  if (parser.isSet(versionOption()))
    return print(QStringLiteral("kelvarune-pos ") + QCoreApplication::applicationVersion() +
                 QLatin1Char('\n'));
  if (parser.isSet(helpOption()))
    return print(programHelp());
  return refuse(QStringLiteral("A command is missing: ") + commandNames());
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
      refuse(QStringLiteral("Unknown status \"") + word + QStringLiteral("\": choose among ") +
                 names.join(QStringLiteral(", ")),
             QStringLiteral("goals"));
      return false;
    }
  }
  return true;
}

parse_t checkReport(const QString &unproved, options_t &options) {
  if (options.html == options.junit)
    return refuse(QStringLiteral("Give either --html or --junit"), options.command);
  if (unproved != QLatin1String("skipped") && unproved != QLatin1String("failed"))
    return refuse(QStringLiteral("--unproved takes skipped or failed"), options.command);
  options.unprovedFails = unproved == QLatin1String("failed");
  return parse_t::RUN;
}

parse_t takeArguments(const command_t &command, QStringList given, options_t &options) {
  const QStringList wanted = QString::fromLatin1(command.arguments).split(QLatin1Char(' '));
  if (given.size() != wanted.size())
    return refuse(options.command + QStringLiteral(" takes ") + wanted.join(QLatin1Char(' ')),
                  options.command);
  if (wanted.first() == QLatin1String("NAME"))
    options.name = given.takeFirst();
  options.files = given;
  const QString dash = QStringLiteral("-");
  if (given.contains(dash) || options.outputPath == dash)
    return refuse(QStringLiteral("\"-\" is not a file: give a path"), options.command);
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
  const auto command = std::find_if(commands().begin(), commands().end(), isCommand);
  if (command == commands().end())
    return refuse(QStringLiteral("Unknown command \"") + options.command +
                  QStringLiteral("\": choose among ") + commandNames());

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
    return parseWithoutCommand({arguments.first(), QStringLiteral("--version")});
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
    options.outputPath = parser.value(QStringLiteral("output"));
  if (isSet("tag"))
    options.tagGlob = parser.value(QStringLiteral("tag"));
  if (isSet("status") && !readStatuses(parser.value(QStringLiteral("status")), options.statuses))
    return parse_t::REFUSED;
  if (options.json && options.csv)
    return refuse(QStringLiteral("Give either --json or --csv"), options.command);
  if (options.command == QLatin1String("report") &&
      checkReport(parser.value(QStringLiteral("unproved")), options) != parse_t::RUN)
    return parse_t::REFUSED;
  return takeArguments(*command, parser.positionalArguments().mid(1), options);
}
