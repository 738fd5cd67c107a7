// What the subcommands take, as one table, and what their words mean.

#include "commands/Options.h"

#include "output/Output.h"
#include "text/Literals.h"

using namespace kelvarune;

namespace {

using commandline::given_t;
using commandline::parse_t;
using commandline::refuse;

const commandline::program_t &program() {
  static const commandline::program_t table = {
      "COMMAND [options] FILE",
      "Shows, checks, resets and merges proof obligation status files.",
      {{"list", "FILE", {"json"}, "The registered mechanisms and their drivers."},
       {"show", "FILE TAG.N...", {"json"}, "All that is known of these goals."},
       {"stats",
        "FILE...",
        {"json", "csv", "history"},
        "Totals, then a row per mechanism and driver."},
       {"goals", "FILE", {"status", "tag", "json", "csv"}, "A row per goal."},
       {"check",
        "FILE",
        {"proved", "json"},
        "Goals whose status does not follow from their parts.",
        "Exits with 1 when there is one or, with --proved, a goal that is not proved."},
       {"unprove",
        "FILE",
        {"status", "mechanism", "driver", "tag", "goal", "dry-run", "wait"},
        "Resets results of mechanisms.",
        "Without a selection all of them. With one only the verdicts that match all of it:\n"
        "those of mechanisms or, with --driver, of drivers. The status of the goals follows.\n"
        "The file as it was is kept as FILE.~N~; restore takes it back."},
       {"remove",
        "NAME FILE",
        {"driver", "dry-run", "wait"},
        "Drops the mechanism NAME, or one driver, and its results.",
        "The file as it was is kept as FILE.~N~; restore takes it back."},
       {"restore",
        "FILE",
        {"backup", "dry-run", "wait"},
        "Takes back what unprove, remove and merge changed.",
        "The file becomes as its latest copy FILE.~N~; as it was, it is kept as a new copy, so\n"
        "that restoring again undoes that."},
       {"merge",
        "FILE FILE...",
        {"output", "force", "wait"},
        "One file of several runs over the same goals.",
        "Exits with 1 when a goal is proved in one and disproved in another; the result has it\n"
        "disproved."},
       {"diff",
        "OLD NEW",
        {"missing-is-lost", "json"},
        "Goals gained, lost, appeared, disappeared.",
        "Exits with 1 when a proof was lost."},
       {"report",
        "FILE",
        {"html", "junit", "unproved", "history", "output"},
        "A page or a JUnit file."},
       {"times",
        "FILE",
        {"slowest", "driver", "goal", "run", "history", "json", "csv"},
        "What drivers and goals took.",
        "The last time of each driver on each goal, in seconds. An entry of several goals counts\n"
        "for each with an equal share. \"No proof\" is what verdicts other than Proved took."},
       {"advise",
        "FILE",
        {"history", "json"},
        "The order and time limits that would have been fastest.",
        "They give the same results, as far as the drivers were tried."},
       {"flaky",
        "FILE",
        {"history", "json"},
        "Verdicts that differ from run to run.",
        "And results for which the prover took four fifths of its time limit or more. Exits with "
        "1\n"
        "when there is one."},
       {"compare",
        "FILE RUN RUN",
        {"history", "json"},
        "Two runs: slower, faster, lost, gained.",
        "A difference counts from a fifth and 0.1 seconds on. Exits with 1 when a proof was lost."},
       {"history", "FILE", {"history", "json"}, "The runs that were recorded."},
       {"prune", "FILE", {"keep", "history"}, "Drops all recorded runs but the last N."}},
      {{"json"_s, "Print JSON."_s},
       {"csv"_s, "Print CSV (RFC 4180)."_s},
       {"status"_s,
        "Only these statuses, with commas: proved, unreliablyproved, unproved, unknown, disproved."_s,
        "LIST"_s},
       {"tag"_s, "Only obligations whose tag matches: * ? [...]."_s, "GLOB"_s},
       {"goal"_s, "Only goal N of obligation TAG (may be repeated)."_s, "TAG.N"_s},
       {"mechanism"_s, "Only this mechanism."_s, "NAME"_s},
       {"driver"_s, "Only this driver."_s, "NAME"_s},
       {"proved"_s, "Find what is not proved as well."_s},
       {"missing-is-lost"_s, "A proved goal that disappeared is a proof lost."_s},
       {"dry-run"_s, "Say what would change, write nothing."_s},
       {"backup"_s, "Take the copy FILE.~N~."_s, "N"_s},
       {"wait"_s, "Wait while a run uses the file, instead of giving up."_s},
       {"force"_s, "Replace an output file that is there; it is kept as PATH.~N~."_s},
       {"html"_s, "One self-contained HTML page."_s},
       {"junit"_s, "JUnit XML."_s},
       {"unproved"_s, "JUnit: unproved goals are skipped or failed."_s, "AS"_s, "skipped"_s},
       {"history"_s, "The history of the runs (comp.history beside comp.pos)."_s, "PATH"_s},
       {"run"_s, "Only this run, by its number."_s, "N"_s},
       {"slowest"_s, "So many goals, the slowest ones (10, for programs all)."_s, "N"_s},
       {"keep"_s, "How many runs stay."_s, "N"_s},
       {{"o"_s, "output"_s}, "Write the result to this file."_s, "PATH"_s}},
      "0 done; 1 check, diff, merge, flaky, compare: something was found; 2 usage, input or "
      "output."};
  return table;
}

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
  if (options.html == options.junit)
    return refuse("Give either --html or --junit"_s, options.command);
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
  options.html = given.has("html");
  options.junit = given.has("junit");
  options.outputPath = given.value("output");
  if (options.json && options.csv)
    return refuse("Give either --json or --csv"_s, options.command);
  if (options.command == "merge"_s && options.outputPath.isEmpty())
    return refuse("Give the file of the result with --output"_s, options.command);
  if (options.command == "report"_s && checkReport(given, options) != parse_t::RUN)
    return parse_t::REFUSED;
  if (readSelection(given, options) != parse_t::RUN || readBackup(given, options) != parse_t::RUN ||
      readHistoryOptions(given, options) != parse_t::RUN)
    return parse_t::REFUSED;
  return takeArguments(given.arguments, options);
}
