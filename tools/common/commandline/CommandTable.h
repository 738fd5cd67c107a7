#ifndef KELVARUNE_TOOLS_COMMON_COMMANDLINE_COMMANDTABLE_H
#define KELVARUNE_TOOLS_COMMON_COMMANDLINE_COMMANDTABLE_H

#include <QCommandLineOption>
#include <QString>
#include <QStringList>

#include <map>
#include <vector>

/// The command line of a program with subcommands, from one table: the parser and the help of each
/// command come from it, so that an option is refused where it would have no effect.
///
/// Every command also has `--help`, `--version` and `--color`; the program has the first two and
/// the commands `help` and `help COMMAND`. For the main thread.
namespace kelvarune::commandline {

struct command_t {
  const char *name;
  const char *arguments; ///< by name: "FILE", "NAME FILE", "FILE..." (one or more), "[FILE...]", ""
  std::vector<const char *> options; ///< by their long names
  const char *description;           ///< one line
  const char *details = "";          ///< what the help of this command says besides
};

/// What a program understands.
struct program_t {
  const char *usage;   ///< the arguments after the program's name, "COMMAND [options] FILE"
  const char *purpose; ///< one line
  std::vector<command_t> commands;
  std::vector<QCommandLineOption> options; ///< of any command, the long name last
  const char *exitStatuses;                ///< what they mean, in one sentence or several lines
};

/// What was typed. Options are asked for by their long names; asking for one that the command does
/// not have is as if it were not given.
struct given_t {
  QString command;
  QStringList arguments;
  std::map<QString, QStringList> options; ///< those given, and those that have a default value

  bool has(const char *option) const;
  QString value(const char *option) const; ///< the last one; empty when there is none
  QStringList values(const char *option) const;
};

enum class parse_t {
  RUN,    ///< the command line is complete
  DONE,   ///< help or the version was asked for and printed
  REFUSED ///< one line on standard error said what is wrong
};

/// Reads the command line; `arguments` starts with the program's name. The number of arguments is
/// then as the table says, and `--color` has taken effect.
parse_t parse(const program_t &program, const QStringList &arguments, given_t &given);

/// Says on standard error what is wrong and where there is help, that of `command` unless it is
/// empty.
parse_t refuse(const QString &what, const QString &command = QString());

/// " (did you mean WORD?)" when `word` is nearly one of `known`; else `remedy`.
QString hintFor(const QString &word, const QStringList &known, const QString &remedy = QString());

} // namespace kelvarune::commandline

#endif
