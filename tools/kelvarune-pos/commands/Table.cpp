// What the subcommands take; their help is made of it.

#include "commands/Table.h"

#include "project/Options.h"
#include "text/Literals.h"

using namespace kelvarune;

const commandline::program_t &program() {
  static const commandline::program_t table = {
      "COMMAND [options] FILE",
      "Shows, checks, resets and merges proof obligation status files.",
      {{"init",
        "",
        {"force"},
        "Writes a kelvarune.toml from what lies here.",
        "With comments, and with the components and mechanisms that lie in the working directory\n"
        "and below it. A file that --force replaces is kept as kelvarune.toml.~N~."},
       {"list", "FILE", {"json"}, "The registered mechanisms and their drivers."},
       {"show", "FILE TAG.N...", {"json"}, "All that is known of these goals."},
       {"stats",
        "[FILE...]",
        {"json", "csv", "history", "config", "no-config"},
        "Totals, then a row per mechanism and driver.",
        "Without FILE those of a project, component by component."},
       {"goals", "FILE", {"status", "tag", "json", "csv"}, "A row per goal."},
       {"check",
        "[FILE...]",
        {"proved", "json", "config", "no-config"},
        "Goals whose status does not follow from their parts.",
        "Without FILE those of a project. Exits with 1 when there is one or, with --proved, a goal "
        "that is not proved."},
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
        "[FILE...]",
        {"against", "missing-is-lost", "json", "config", "no-config"},
        "Goals gained, lost, appeared, disappeared.",
        "Between OLD NEW, which are two files or two directories with status files, or since the\n"
        "state that --against names: of the files or, without any, of a project. Exits with 1 "
        "when\n"
        "a proof was lost."},
       {"report",
        "[FILE...]",
        {"html", "junit", "markdown", "badge", "against", "unproved", "history", "output", "config",
         "no-config"},
        "Pages, a JUnit file, a summary or a badge.",
        "Of one file, of several, or of a project when there is none. Several components make a\n"
        "directory of pages (--output; as the project says, else reports), one file makes one "
        "page."},
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
       {"force"_s, "Replace a file that is there; it is kept as PATH.~N~."_s},
       {"html"_s, "Self-contained HTML: one page, or an index and a page for each component."_s},
       {"markdown"_s, "Markdown for a merge request or a job summary, at most 60 lines."_s},
       {"badge"_s, "A small SVG image with the number of proved goals."_s},
       {"against"_s,
        "What changed since this state: a directory with the files, or a git revision."_s,
        "DIR|REVISION"_s},
       {"junit"_s, "JUnit XML."_s},
       {"unproved"_s, "JUnit: unproved goals are skipped or failed."_s, "AS"_s, "skipped"_s},
       {"history"_s, "The history of the runs (comp.history beside comp.pos)."_s, "PATH"_s},
       {"run"_s, "Only this run, by its number."_s, "N"_s},
       {"slowest"_s, "So many goals, the slowest ones (10, for programs all)."_s, "N"_s},
       {"keep"_s, "How many runs stay."_s, "N"_s},
       {{"o"_s, "output"_s}, "Write the result to this file, pages to this directory."_s, "PATH"_s},
       project::configOption(),
       project::noConfigOption()},
      "0 done; 1 check, diff, merge, flaky, compare: something was found; 2 usage, input or "
      "output."};
  return table;
}
