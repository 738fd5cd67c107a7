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
      "Shows, checks and resets proof obligation status files.",
      {{"list", "FILE", {"json"}, "The registered mechanisms and their drivers."},
       {"stats", "FILE", {"json", "csv"}, "Totals, then a row per mechanism and driver."},
       {"goals", "FILE", {"status", "tag", "json", "csv"}, "A row per goal."},
       {"check", "FILE", {"json"}, "Goals whose status does not follow from their parts."},
       {"unprove", "FILE", {"dry-run"}, "Resets all results of mechanisms."},
       {"remove", "NAME FILE", {"dry-run"}, "Drops the mechanism NAME and its results."},
       {"diff", "OLD NEW", {"json"}, "Goals gained, lost, appeared, disappeared."},
       {"report", "FILE", {"html", "junit", "unproved", "output"}, "A page or a JUnit file."}},
      {{"json"_s, "Print JSON."_s},
       {"csv"_s, "Print CSV (RFC 4180)."_s},
       {"status"_s, "Only goals of these statuses, with commas."_s, "LIST"_s},
       {"tag"_s, "Only obligations whose tag matches: * ? [...]."_s, "GLOB"_s},
       {"dry-run"_s, "Say what would change, write nothing."_s},
       {"html"_s, "One self-contained HTML page."_s},
       {"junit"_s, "JUnit XML."_s},
       {"unproved"_s, "JUnit: unproved goals are skipped or failed."_s, "AS"_s, "skipped"_s},
       {{"o"_s, "output"_s}, "Write the report to this file."_s, "PATH"_s}},
      "0 done; 1 check, diff: something was found; 2 usage, input or output."};
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

parse_t takeArguments(QStringList words, options_t &options) {
  if (options.command == "remove"_s)
    options.name = words.takeFirst();
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
  options.html = given.has("html");
  options.junit = given.has("junit");
  options.outputPath = given.value("output");
  options.tagGlob = given.value("tag");
  if (options.json && options.csv)
    return refuse("Give either --json or --csv"_s, options.command);
  if (given.has("status") && readStatuses(given, options.statuses) != parse_t::RUN)
    return parse_t::REFUSED;
  if (options.command == "report"_s && checkReport(given, options) != parse_t::RUN)
    return parse_t::REFUSED;
  return takeArguments(given.arguments, options);
}
