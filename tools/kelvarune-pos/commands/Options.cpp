// What the words of the command line mean.

#include "commands/Options.h"

#include "commands/Table.h"
#include "output/Output.h"
#include "text/Literals.h"

using namespace kelvarune;

namespace {

using commandline::given_t;
using commandline::parse_t;
using commandline::refuse;

// "unreliably-proved", "UnreliablyProved" and the like.
QString plain(QString text) {
  return text.remove(QLatin1Char('-')).remove(QLatin1Char('_')).trimmed().toLower();
}

parse_t readStatuses(const given_t &given, std::set<pos::status_t> &statuses) {
  QStringList names;
  for (const auto &[status, text] : pos::strOfProofStatus_dict())
    names.append(text.toLower());
  for (const QString &word : given.value("status").split(QLatin1Char(','))) {
    const int index = names.indexOf(plain(word)); // the statuses are numbered in that order
    if (index < 0)
      return refuse(
          "Unknown status \""_s + word + QLatin1Char('"') +
              commandline::hintFor(plain(word), names, ": choose among "_s + names.join(", "_s)),
          given.command);
    statuses.insert(static_cast<pos::status_t>(index));
  }
  return parse_t::RUN;
}

parse_t checkReport(const given_t &given, options_t &options) {
  const std::pair<const char *, report_t> formats[] = {{"html", report_t::HTML},
                                                       {"junit", report_t::JUNIT},
                                                       {"markdown", report_t::MARKDOWN},
                                                       {"badge", report_t::BADGE}};
  int count = 0;
  for (const auto &[name, format] : formats) {
    if (!given.has(name))
      continue;
    options.report = format;
    ++count;
  }
  if (count != 1)
    return refuse("Give one of --html, --junit, --markdown and --badge"_s, options.command);
  const QString unproved = given.value("unproved");
  if (unproved != "skipped"_s && unproved != "failed"_s)
    return refuse("--unproved takes skipped or failed"_s, options.command);
  options.unprovedFails = unproved == "failed"_s;
  return parse_t::RUN;
}

parse_t readGoals(const QStringList &words, options_t &options) {
  for (const QString &word : words) {
    const std::optional<pos::goal_name_t> name = pos::goalNameOfStr(word);
    if (!name)
      return refuse("\""_s + word + "\" is no goal: give TAG.N, N counted from 1"_s,
                    options.command);
    options.goals.push_back(*name);
  }
  return parse_t::RUN;
}

parse_t readSelection(const given_t &given, options_t &options) {
  options.tagGlob = given.value("tag");
  if (given.has("tag") && options.tagGlob.isEmpty()) // perhaps of an unset variable
    return refuse("--tag needs a pattern that is not empty"_s, options.command);
  if (given.has("mechanism"))
    options.mechanism = given.value("mechanism");
  if (given.has("driver"))
    options.driver = given.value("driver");
  if (given.has("status") && readStatuses(given, options.statuses) != parse_t::RUN)
    return parse_t::REFUSED;
  return readGoals(given.values("goal"), options);
}

parse_t readBackup(const given_t &given, options_t &options) {
  options.backup = given.value("backup").toInt(); // 0 for what is no number
  if (given.has("backup") && options.backup < 1)
    return refuse("--backup takes the number of a copy, from 1"_s, options.command);
  return parse_t::RUN;
}

/// Reads a number from 1, if it is given.
parse_t readNumber(const given_t &given, const char *name, int &number) {
  if (!given.has(name))
    return parse_t::RUN;
  number = given.value(name).toInt(); // 0 for what is no number
  return number >= 1
             ? parse_t::RUN
             : refuse("--%1 takes a number from 1"_s.arg(QLatin1String(name)), given.command);
}

parse_t readHistoryOptions(const given_t &given, options_t &options) {
  options.history = given.value("history");
  if (given.has("history") && options.history.isEmpty())
    return refuse("--history needs a path that is not empty"_s, given.command);
  if (options.command == "prune"_s && !given.has("keep"))
    return refuse("Give the number of runs that stay with --keep"_s, given.command);
  for (const auto &[name, number] :
       {std::pair{"run", &options.run}, {"slowest", &options.slowest}, {"keep", &options.keep}}) {
    if (readNumber(given, name, *number) != parse_t::RUN)
      return parse_t::REFUSED;
  }
  return parse_t::RUN;
}

parse_t readRuns(const QStringList &words, options_t &options) {
  for (const QString &word : words) {
    options.runs.push_back(word.toInt());
    if (options.runs.back() < 1)
      return refuse("\""_s + word + "\" is no run: kelvarune-pos history lists their numbers"_s,
                    options.command);
  }
  return parse_t::RUN;
}

parse_t readProject(const given_t &given, options_t &options) {
  options.against = given.value("against");
  if (given.has("against") && options.against.isEmpty())
    return refuse("--against needs a directory or a revision"_s, options.command);
  options.project.none = given.has("no-config");
  if (given.has("config"))
    options.project.config = given.value("config");
  const bool isOne = given.arguments.size() == 1;
  if (given.has("config") && !given.arguments.isEmpty())
    return refuse("Give either FILE or --config"_s, options.command);
  if (options.command == "diff"_s && !given.has("against") && given.arguments.size() != 2)
    return refuse("diff takes OLD NEW, or --against"_s, options.command);
  const bool isOfProject =
      options.command == "report"_s || options.command == "stats"_s || options.command == "diff"_s;
  if (isOfProject && given.has("history") && !isOne)
    return refuse("--history is the history of one file"_s, options.command);
  return parse_t::RUN;
}

parse_t takeArguments(QStringList words, options_t &options) {
  if (options.command == "remove"_s)
    options.mechanism = words.takeFirst();
  if (options.command == "show"_s) {
    if (readGoals(words.mid(1), options) != parse_t::RUN)
      return parse_t::REFUSED;
    words = words.mid(0, 1);
  }
  if (options.command == "compare"_s) {
    if (readRuns(words.mid(1), options) != parse_t::RUN)
      return parse_t::REFUSED;
    words = words.mid(0, 1);
  }
  options.files = words;
  const QString dash = "-"_s;
  if (words.contains(dash) || options.outputPath == dash)
    return refuse("\"-\" is not a file: give a path"_s, options.command);
  return parse_t::RUN;
}

} // namespace

parse_t parseOptions(const QStringList &arguments, options_t &options) {
  given_t given;
  const parse_t result = commandline::parse(program(), arguments, given);
  if (result != parse_t::RUN)
    return result;
  options.command = given.command;
  options.json = given.has("json");
  options.csv = given.has("csv");
  options.dryRun = given.has("dry-run");
  options.wait = given.has("wait");
  options.force = given.has("force");
  options.mustBeProved = given.has("proved");
  options.missingIsLost = given.has("missing-is-lost");
  options.outputPath = given.value("output");
  if (options.json && options.csv)
    return refuse("Give either --json or --csv"_s, options.command);
  if (options.command == "merge"_s && options.outputPath.isEmpty())
    return refuse("Give the file of the result with --output"_s, options.command);
  if (options.command == "report"_s && checkReport(given, options) != parse_t::RUN)
    return parse_t::REFUSED;
  if (readSelection(given, options) != parse_t::RUN || readBackup(given, options) != parse_t::RUN ||
      readHistoryOptions(given, options) != parse_t::RUN ||
      readProject(given, options) != parse_t::RUN)
    return parse_t::REFUSED;
  return takeArguments(given.arguments, options);
}
