// Qt's parser does the reading, one parser for each command, made when the command is known. What
// it cannot do is done here: subcommands, how many arguments there are, and what was probably meant
// by a word that does not exist.

#include "commandline/CommandTable.h"

#include "output/Output.h"
#include "text/Literals.h"
#include "text/Similar.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <algorithm>

namespace kelvarune::commandline {

namespace {

const QCommandLineOption &helpOption() {
  static const QCommandLineOption option = {{"h"_s, "help"_s}, "Show this help."_s};
  return option;
}

const QCommandLineOption &versionOption() {
  static const QCommandLineOption option = {{"v"_s, "version"_s}, "Show the version."_s};
  return option;
}

// Where a command has another use for the letter.
const QCommandLineOption &longVersionOption() {
  static const QCommandLineOption option = {"version"_s, "Show the version."_s};
  return option;
}

const QCommandLineOption &colorOption() {
  static const QCommandLineOption option = {
      "color"_s, "Colours: auto (on a terminal), always or never."_s, "WHEN"_s, "auto"_s};
  return option;
}

parse_t print(const QString &text) {
  return printOut(text.toUtf8()) ? parse_t::DONE : parse_t::REFUSED;
}

// What Qt's parser complains of, as the beginning of a sentence.
QString complaintOf(const QCommandLineParser &parser) {
  QString text = parser.errorText();
  if (text.endsWith(QLatin1Char('.')))
    text.chop(1);
  return text;
}

parse_t printVersion() {
  return print(QCoreApplication::applicationName() + QLatin1Char(' ') +
               QCoreApplication::applicationVersion() + QLatin1Char('\n'));
}

QStringList namesOf(const program_t &program) {
  QStringList names;
  for (const command_t &command : program.commands)
    names.append(QLatin1String(command.name));
  return names;
}

const command_t *findCommand(const program_t &program, const QString &name) {
  const auto found = std::find_if(
      program.commands.begin(), program.commands.end(),
      [&name](const command_t &command) { return name == QLatin1String(command.name); });
  return found == program.commands.end() ? nullptr : &*found;
}

parse_t refuseCommand(const program_t &program, const QString &name) {
  const QStringList known = namesOf(program);
  return refuse(
      "Unknown command \""_s + name + QLatin1Char('"') +
      hintFor(name, known + QStringList("help"_s), ": choose among "_s + known.join(", "_s)));
}

QStringList argumentNames(const command_t &command) {
  return QString::fromLatin1(command.arguments).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

bool isList(const QString &argumentName) {
  return argumentName.endsWith("..."_s);
}

QString programHelp(const program_t &program) {
  const auto callOf = [](const command_t &command) {
    return QLatin1String(command.name) + QLatin1Char(' ') + QLatin1String(command.arguments);
  };
  const QString help = "help [COMMAND]"_s;
  int width = help.size();
  for (const command_t &command : program.commands)
    width = std::max(width, callOf(command).size());
  QString text = "Usage: %1 %2\n%3\n\nCommands:\n"_s.arg(QCoreApplication::applicationName(),
                                                         QLatin1String(program.usage),
                                                         QLatin1String(program.purpose));
  const auto add = [&text, width](const QString &call, const QString &description) {
    text += "  "_s + call.leftJustified(width + 2) + description + QLatin1Char('\n');
  };
  for (const command_t &command : program.commands)
    add(callOf(command), QLatin1String(command.description));
  add(help, "This help, or that of one command."_s);
  text += "\nOptions:\n"_s;
  add("-h, --help"_s, "Show this help; COMMAND --help that of one."_s);
  add("-v, --version"_s, "Show the version."_s);
  return text + "\nExit status: "_s + QLatin1String(program.exitStatuses) + QLatin1Char('\n');
}

std::vector<QCommandLineOption> optionsOf(const program_t &program, const command_t &command) {
  std::vector<QCommandLineOption> options;
  for (const char *name : command.options) {
    const QString text = QLatin1String(name);
    for (const QCommandLineOption &option : program.options) {
      if (option.names().last() == text)
        options.push_back(option);
    }
  }
  const bool hasV =
      std::any_of(options.begin(), options.end(),
                  [](const QCommandLineOption &option) { return option.names().contains("v"_s); });
  options.insert(options.end(),
                 {colorOption(), helpOption(), hasV ? longVersionOption() : versionOption()});
  return options;
}

// Qt's text, but for the first line, which cannot be had with the options after the command.
QString helpOf(const program_t &program, const command_t &command) {
  QCommandLineParser parser;
  const QString details = QLatin1String(command.details);
  parser.setApplicationDescription(QLatin1String(command.description) +
                                   (details.isEmpty() ? details : "\n\n"_s + details));
  for (const QCommandLineOption &option : optionsOf(program, command))
    parser.addOption(option);
  const QString text = parser.helpText().trimmed() + QLatin1Char('\n');
  const QString arguments = QLatin1String(command.arguments);
  return "Usage: %1 %2 [options]"_s.arg(QCoreApplication::applicationName(),
                                        QLatin1String(command.name)) +
         (arguments.isEmpty() ? arguments : QLatin1Char(' ') + arguments) +
         text.mid(text.indexOf(QLatin1Char('\n')));
}

// `help`, and what starts with an option.
parse_t parseWithoutCommand(const program_t &program, const QStringList &arguments) {
  QCommandLineParser parser;
  parser.addOptions({helpOption(), versionOption()});
  if (!parser.parse(arguments))
    return refuse(complaintOf(parser));
  if (parser.isSet(versionOption()))
    return printVersion();
  QStringList words = parser.positionalArguments();
  const bool help = !words.isEmpty() && words.takeFirst() == "help"_s;
  if (!help && !parser.isSet(helpOption()))
    return refuse("A command is missing: "_s + namesOf(program).join(", "_s));
  if (words.isEmpty() || words.first() == "help"_s)
    return print(programHelp(program));
  const command_t *command = findCommand(program, words.first());
  return command ? print(helpOf(program, *command)) : refuseCommand(program, words.first());
}

parse_t refuseOption(const QCommandLineParser &parser,
                     const std::vector<QCommandLineOption> &options, const QString &command) {
  QStringList known;
  for (const QCommandLineOption &option : options)
    known.append("--"_s + option.names().last());
  const QStringList unknown = parser.unknownOptionNames();
  if (unknown.isEmpty()) // a value is missing, or there is one too many
    return refuse(complaintOf(parser), command);
  const QString word = (unknown.first().size() == 1 ? "-"_s : "--"_s) + unknown.first();
  return refuse("Unknown option "_s + word + hintFor(word, known), command);
}

parse_t takeColor(const QString &when, const QString &command) {
  if (!setColour(when))
    return refuse("--color takes auto, always or never"_s, command);
  return parse_t::RUN;
}

bool isRightNumber(const QStringList &given, const QStringList &names) {
  if (names.isEmpty())
    return given.isEmpty();
  if (names.last().endsWith("...]"_s)) // none is right, too
    return given.size() >= names.size() - 1;
  return isList(names.last()) ? given.size() >= names.size() : given.size() == names.size();
}

} // namespace

bool given_t::has(const char *option) const {
  return options.count(QLatin1String(option)) > 0;
}

QString given_t::value(const char *option) const {
  const QStringList all = values(option);
  return all.isEmpty() ? QString() : all.last();
}

QStringList given_t::values(const char *option) const {
  const auto found = options.find(QLatin1String(option));
  return found == options.end() ? QStringList() : found->second;
}

parse_t refuse(const QString &what, const QString &command) {
  const QString blank = command.isEmpty() ? QString() : " "_s;
  complain(what + "; see "_s + QCoreApplication::applicationName() + QLatin1Char(' ') + command +
           blank + "--help"_s);
  return parse_t::REFUSED;
}

QString hintFor(const QString &word, const QStringList &known, const QString &remedy) {
  const QString meant = similarWord(word, known);
  return meant.isEmpty() ? remedy : " (did you mean "_s + meant + "?)"_s;
}

parse_t parse(const program_t &program, const QStringList &arguments, given_t &given) {
  if (arguments.size() < 2 || arguments[1].startsWith(QLatin1Char('-')) || arguments[1] == "help"_s)
    return parseWithoutCommand(program, arguments);
  given.command = arguments[1];
  const command_t *command = findCommand(program, given.command);
  if (!command)
    return refuseCommand(program, given.command);

  const std::vector<QCommandLineOption> options = optionsOf(program, *command);
  QCommandLineParser parser;
  for (const QCommandLineOption &option : options)
    parser.addOption(option);
  if (!parser.parse(arguments))
    return refuseOption(parser, options, given.command);
  if (parser.isSet("version"_s))
    return printVersion();
  if (parser.isSet(helpOption()))
    return print(helpOf(program, *command));
  for (const QCommandLineOption &option : options) {
    if (parser.isSet(option) || !option.defaultValues().isEmpty())
      given.options[option.names().last()] = parser.values(option);
  }
  given.arguments = parser.positionalArguments().mid(1);
  const QStringList names = argumentNames(*command);
  if (!isRightNumber(given.arguments, names))
    return refuse(given.command + " takes "_s +
                      (names.isEmpty() ? "no arguments"_s : names.join(QLatin1Char(' '))),
                  given.command);
  return takeColor(given.value("color"), given.command);
}

} // namespace kelvarune::commandline
