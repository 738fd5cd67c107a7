// What the subcommands take, as one table, and what their words mean.

#include "Options.h"

#include "Paths.h"
#include "text/Literals.h"

using namespace kelvarune;

namespace {

using commandline::given_t;
using commandline::parse_t;
using commandline::refuse;

const commandline::program_t &program() {
  static const commandline::program_t table = {
      "COMMAND [options] ARGUMENTS",
      "Makes components of SMT-LIB and TPTP files, and keeps them in step.",
      {{"prove",
        "PATH...",
        {"output", "mechanism", "concurrency", "retry", "group-by-directory", "skip-broken",
         "verbose", "wait"},
        "Imports or syncs, plays a portfolio of provers, writes a page.",
        "The component lies beside the files: DIR/DIR.pog, DIR.pos and DIR.html. What is proved\n"
        "already is not played again. Exits with 1 when a goal is not proved."},
       {"import",
        "PATH...",
        {"output", "group-by-directory", "embed", "skip-broken", "adopt", "verbose", "quiet",
         "wait"},
        "Makes NAME.pog and NAME.pos of the goals in files and directories.",
        "Over a component that is there it does as sync, with these paths."},
       {"sync",
        "POG",
        {"check", "verbose", "quiet", "lister", "adopt", "skip-broken", "pos", "wait"},
        "Brings a component in step with its files.",
        "Equal goals keep their statuses, renamed and moved ones too; changed ones start again.\n"
        "The status file as it was is kept as FILE.~N~; kelvarune-pos restore takes it back.\n"
        "With --check exits with 1 when the component is out of step."},
       {"list", "POG", {"pos"}, "A row per goal: its place, expected answer and status."},
       {"show", "POG TAG.N...", {}, "The goals' own scripts, ready for a prover."},
       {"export", "POG DIR", {}, "One file per goal."},
       {"digests", "POG", {}, "Lists the goals as sync reads it from a lister."}},
      {{{"o"_s, "output"_s}, "The component: NAME.pog and NAME.pos."_s, "NAME"_s},
       {"group-by-directory"_s, "A directory is an obligation, instead of a file."_s},
       {"embed"_s, "The POG holds the goals' scripts and needs no files."_s},
       {"skip-broken"_s,
        "Leave out files that cannot be read or are broken, instead of giving up."_s},
       {"check"_s, "Only say whether the component is in step."_s},
       {{"v"_s, "verbose"_s}, "Name every goal that changes; prove: show the run."_s},
       {{"q"_s, "quiet"_s}, "Print nothing where everything was in step."_s},
       {"lister"_s,
        "This program, given the POG, prints TAG, NUMBER and DIGEST of each goal with tabs between."_s,
        "PROGRAM"_s},
       {"adopt"_s, "Take goals that have no digest yet as unchanged."_s},
       {"pos"_s, "The status file, when it is not beside the POG."_s, "FILE"_s},
       {"wait"_s, "Wait while a run uses the status file, instead of giving up."_s},
       {{"m"_s, "mechanism"_s},
        "Play this mechanism instead (may be repeated): a name or a file, as kelvarune-play does."_s,
        "NAME"_s},
       {{"c"_s, "concurrency"_s}, "Goals proved at once."_s, "N"_s, "auto"_s},
       {"retry"_s, "Play again what an earlier run has left unknown."_s}},
      "0 done; 1 prove, sync --check: not proved, out of step; 2 usage, input or output;\n"
      "3 prove: some tool or save failed."};
  return table;
}

parse_t takeGoals(options_t &options) {
  for (std::size_t i = 1; i < options.arguments.size(); ++i) {
    const QString word = paths::textOf(options.arguments[i]);
    const std::optional<pos::goal_name_t> name = pos::goalNameOfStr(word);
    if (!name)
      return refuse("\""_s + word + "\" is no goal: give TAG.N, N counted from 1"_s,
                    options.command);
    options.goals.push_back(*name);
  }
  return parse_t::RUN;
}

} // namespace

parse_t parseOptions(const QStringList &arguments, options_t &options) {
  given_t given;
  const parse_t result = commandline::parse(program(), arguments, given);
  if (result != parse_t::RUN)
    return result;
  options.command = given.command;
  for (const QString &word : std::as_const(given.arguments)) {
    options.arguments.push_back(paths::bytesOf(word));
    if (word.isEmpty()) // perhaps of an unset variable
      return refuse("An argument is empty"_s, options.command);
  }
  options.output = paths::bytesOf(given.value("output"));
  options.pos = paths::bytesOf(given.value("pos"));
  options.lister = given.value("lister");
  options.mechanisms = given.values("mechanism");
  options.concurrency = given.value("concurrency");
  options.groupByDirectory = given.has("group-by-directory");
  options.embed = given.has("embed");
  options.skipBroken = given.has("skip-broken");
  options.check = given.has("check");
  options.adopt = given.has("adopt");
  options.verbose = given.has("verbose");
  options.wait = given.has("wait");
  options.retry = given.has("retry");
  options.quiet = given.has("quiet");
  if (options.command == "import"_s && options.output.empty())
    return refuse("Give the component with --output NAME"_s, options.command);
  return options.command == "show"_s ? takeGoals(options) : parse_t::RUN;
}
