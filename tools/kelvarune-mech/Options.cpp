// What the subcommands take, as one table, and what their words mean.

#include "Options.h"

#include "mechanism/Mechanism.h"
#include "output/Output.h"
#include "shell/Quoting.h"
#include "text/Literals.h"
#include "text/Paths.h"

#include <QFileInfo>

#include <algorithm>
#include <map>

using namespace kelvarune;

namespace {

using commandline::given_t;
using commandline::parse_t;
using commandline::refuse;

const commandline::program_t &program() {
  static const commandline::program_t table = {
      "COMMAND [options] FILE|NAME",
      "Checks and writes descriptions of proof mechanisms.",
      {{"check",
        "FILE|DIR...",
        {"installdir", "resources", "tools", "pog", "timeout"},
        "What is wrong with descriptions, or probably not meant.",
        "Of a directory, the files *.xml are checked in the order of their names, in which\n"
        "kelvarune-play -M plays them."},
       {"new",
        "NAME",
        {"writer", "prover", "reader", "driver", "input", "timeout", "ext", "group", "trust",
         "fast", "output", "force", "installdir", "resources"},
        "Writes the description NAME.xml and checks it.",
        "Commands are split into words as a shell does it. In those of provers, '${timeout}'\n"
        "stands for the timeout; in those of provers and readers '${file}' for the goals."}},
      {{{"i"_s, "installdir"_s},
        "Where tools with relative paths are. May be repeated."_s,
        "DIR"_s},
       {{"r"_s, "resources"_s}, "Resource file that says where tools are."_s, "FILE"_s},
       {"tools"_s, "Run each tool once, on no goal or that of --pog."_s},
       {"pog"_s, "Proof obligations; their first goal is tried."_s, "FILE"_s},
       {"timeout"_s,
        "check: seconds that a tool may take; new: what stands for '${timeout}'. 10 unless given."_s,
        "N"_s},
       {"writer"_s, "The command of the writer."_s, "COMMAND"_s},
       {"prover"_s, "That of the prover. Repeated: a driver for each."_s, "COMMAND"_s},
       {"reader"_s, "That of the reader."_s, "COMMAND"_s},
       {"driver"_s, "The driver's name, else that of the prover."_s, "NAME"_s},
       {"input"_s, "How the prover gets the goals: stdin or file."_s, "HOW"_s},
       {"ext"_s, "How files of goals end."_s, "EXT"_s, "po2"_s},
       {"group"_s, "Goals per file: none (one), related, full (all)."_s, "WORD"_s, "none"_s},
       {"trust"_s, "Of a proof: always, redundancy (two), never."_s, "WORD"_s, "always"_s},
       {"fast"_s, "Also play the drivers when only fast ones are."_s},
       {{"o"_s, "output"_s}, "Write this file, or into this directory."_s, "PATH"_s},
       {"force"_s, "Write over a file that exists."_s}},
      "0 done; 1 something was found; 2 usage, input or output."};
  return table;
}

bool isWholeNumber(const QString &text, int &number) {
  bool good = false;
  number = text.toInt(&good);
  return good && number > 0 &&
         std::all_of(text.begin(), text.end(), [](QChar c) { return c >= QLatin1Char('0'); });
}

parse_t checkWord(const given_t &given, const char *option, const QStringList &known) {
  const QString word = given.value(option);
  if (!given.has(option) || known.contains(word))
    return parse_t::RUN;
  return refuse("--%1 %2: "_s.arg(QLatin1String(option), word) + "there are "_s +
                    known.join(", "_s) + commandline::hintFor(word, known),
                given.command);
}

template <typename Value>
QStringList wordsOf(const std::map<QString, Value> &table) {
  QStringList words;
  for (const auto &[word, meaning] : table)
    words << word;
  return words;
}

parse_t splitCommand(const given_t &given, const char *option, const QString &text,
                     QStringList &words) {
  const auto split = shellWords(text);
  if (!split)
    return refuse("--%1: a quote is not closed in '%2'"_s.arg(QLatin1String(option), shown(text)),
                  given.command);
  words = *split;
  if (words.isEmpty())
    return refuse("--%1 takes a command"_s.arg(QLatin1String(option)), given.command);
  for (const QString &word : std::as_const(words)) {
    if (shown(word) != word && !word.isEmpty())
      return refuse(
          "--%1: '%2' holds a control character"_s.arg(QLatin1String(option), shown(word)),
          given.command);
  }
  return parse_t::RUN;
}

parse_t readCommands(const given_t &given, new_options_t &description) {
  for (const char *option : {"writer", "prover", "reader"}) {
    if (!given.has(option))
      return refuse("--%1 is missing"_s.arg(QLatin1String(option)), given.command);
  }
  for (const QString &text : given.values("prover")) {
    QStringList words;
    if (splitCommand(given, "prover", text, words) != parse_t::RUN)
      return parse_t::REFUSED;
    description.provers.push_back(words);
  }
  if (splitCommand(given, "writer", given.value("writer"), description.writer) != parse_t::RUN)
    return parse_t::REFUSED;
  return splitCommand(given, "reader", given.value("reader"), description.reader);
}

// Those that are given; else the names of the provers, told apart by a number where they are alike.
parse_t readDriverNames(const given_t &given, new_options_t &description) {
  description.drivers = given.values("driver");
  if (description.drivers.isEmpty()) {
    for (const QStringList &prover : description.provers) {
      const QString name = QFileInfo(prover.first()).fileName();
      QString unused = name;
      for (int i = 2; description.drivers.contains(unused); ++i)
        unused = name + QString::number(i);
      description.drivers << unused;
    }
  }
  if (description.drivers.size() != static_cast<int>(description.provers.size()))
    return refuse("Give a --driver for each --prover"_s, given.command);
  return parse_t::RUN;
}

parse_t readPath(const given_t &given, new_options_t &description) {
  const QString suffix = ".xml"_s;
  description.name = given.arguments.first();
  if (description.name.endsWith(suffix))
    description.name.chop(suffix.size());
  if (description.name.isEmpty() || description.name.contains(QLatin1Char('/')))
    return refuse("NAME is that of a mechanism; --output names a directory"_s, given.command);
  const QString file = description.name + suffix;
  const QString output = given.value("output");
  const bool isDirectory = QFileInfo(output).isDir();
  description.path =
      output.isEmpty() ? file : (isDirectory ? output + QLatin1Char('/') + file : output);
  if (baseNameOfPath(description.path.toStdString()) != description.name.toStdString())
    return refuse("--output %1: a mechanism has the name of its file, here %2"_s.arg(output, file),
                  given.command);
  return parse_t::RUN;
}

parse_t checkTimeout(const given_t &given, const new_options_t &description) {
  int number = 0;
  if (given.has("timeout") && !isWholeNumber(description.timeout, number))
    return refuse("--timeout takes a whole number"_s, given.command);
  const auto asks = [](const QStringList &words) {
    return words.join(" "_s).contains("${timeout}"_s);
  };
  const auto &provers = description.provers;
  if (given.has("timeout") && std::none_of(provers.begin(), provers.end(), asks))
    return refuse("--timeout has no effect without '${timeout}' in --prover"_s, given.command);
  return parse_t::RUN;
}

parse_t readNew(const given_t &given, new_options_t &description) {
  description.input = given.value("input");
  description.timeout = given.value("timeout");
  description.ext = given.value("ext");
  description.group = given.value("group");
  description.trust = given.value("trust");
  description.fast = given.has("fast");
  description.force = given.has("force");
  if (checkWord(given, "input", {"stdin"_s, "file"_s}) != parse_t::RUN ||
      checkWord(given, "group", wordsOf(mechanism::groupOfXmlAttr)) != parse_t::RUN ||
      checkWord(given, "trust", wordsOf(mechanism::trustOfXmlAttr)) != parse_t::RUN ||
      readCommands(given, description) != parse_t::RUN ||
      readDriverNames(given, description) != parse_t::RUN ||
      checkTimeout(given, description) != parse_t::RUN)
    return parse_t::REFUSED;
  if (description.trust == mechanism::ATTR_VALUE_REDUNDANCY && description.provers.size() < 2)
    return refuse("--trust redundancy takes the proofs of two drivers: repeat --prover"_s,
                  given.command);
  return readPath(given, description);
}

} // namespace

parse_t parseOptions(const QStringList &arguments, options_t &options) {
  given_t given;
  const parse_t result = commandline::parse(program(), arguments, given);
  if (result != parse_t::RUN)
    return result;
  options.command = given.command;
  options.resources = given.values("resources");
  for (const QString &directory : given.values("installdir"))
    options.installDirs.push_back(directory.toStdString());
  if (options.command == "new"_s)
    return readNew(given, options.description);
  options.paths = given.arguments;
  options.runTools = given.has("tools");
  options.pogPath = given.value("pog");
  if (!options.runTools && (given.has("pog") || given.has("timeout")))
    return refuse("--pog and --timeout have no effect without --tools"_s, options.command);
  const QString limit = given.has("timeout") ? given.value("timeout") : "10"_s;
  if (!isWholeNumber(limit, options.limitS) || options.limitS > 86400)
    return refuse("--timeout takes a number of seconds"_s, options.command);
  return parse_t::RUN;
}
