// Says what the SZS status that a prover of first-order logic prints is worth.

#include "CommandLine.h"
#include "Output.h"
#include "goals/Source.h"

#include <algorithm>

using namespace kelvarune;
using provers::Refusal;

namespace {

const char *const HELP =
    R"(Usage: kelvarune-szs-reader [options]
Reads a prover's output on standard input and prints the verdict of its goal.

      --file <FILE>         The file that kelvarune-tptp-writer wrote for the prover; it says
                            whether anything was asked.
      --countersat <VERDICT>  What CounterSatisfiable and Satisfiable mean: Unknown (the
                            default) or Disproved.
  -h, --help                This help.
      --version             The version.

Prints one line: "Proved" for the SZS statuses Theorem, Unsatisfiable and ContradictoryAxioms, and
for what SPASS prints instead, "Proof found."; the verdict of --countersat for a goal that does not
follow, SPASS's "Completion found."; and "Unknown" for every other status, for none, and for
statuses that contradict each other.

It reads its input to the end, so that no prover dies of a broken pipe.

Exit status: 0; 1 when FILE cannot be read; 2 for a bad command line.
)";

enum class said_t { NOTHING, PROVED, COUNTER, OTHER };

// "# SZS status Theorem for FILE", or SPASS's line.
said_t saidBy(std::string_view line) {
  static constexpr std::string_view PROVED[] = {"Theorem", "Unsatisfiable", "ContradictoryAxioms"};
  static constexpr std::string_view COUNTER[] = {"CounterSatisfiable", "Satisfiable"};
  const auto has = [](const auto &names, std::string_view name) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
  };
  const std::vector<std::string_view> words = provers::wordsOf(line);
  if (words.size() == 4 && words[0] == "SPASS" && words[1] == "beiseite:" && words[3] == "found.")
    return words[2] == "Proof"        ? said_t::PROVED
           : words[2] == "Completion" ? said_t::COUNTER
                                      : said_t::OTHER;
  if (words.size() < 4 || (words[0] != "#" && words[0] != "%") || words[1] != "SZS" ||
      words[2] != "status")
    return said_t::NOTHING;
  return has(PROVED, words[3])    ? said_t::PROVED
         : has(COUNTER, words[3]) ? said_t::COUNTER
                                  : said_t::OTHER;
}

// Whether the file has a goal; without one its answer is about nothing.
bool isAsked(const std::string &path) {
  auto read = goals::readSource(path);
  if (const auto *error = std::get_if<goals::source_error_t>(&read))
    throw Refusal("cannot read " + path + ": " + error->text);
  const std::string &text = std::get<std::string>(read);
  const std::vector<std::string_view> words =
      provers::wordsOf(std::string_view(text).substr(0, text.find('\n')));
  if (words.size() < 3 || words[1] != "kelvarune-tptp-writer")
    throw Refusal(path + " was not written by kelvarune-tptp-writer");
  return words[2] == "goal";
}

void run(provers::Words &words) {
  std::string file;
  std::string counter = "Unknown";
  while (words.next()) {
    const std::string name = words.name();
    if (name == "--file")
      file = words.value();
    else if (name == "--countersat")
      counter = provers::chosen<std::string>(name, words.value(),
                                             {{"Unknown", "Unknown"}, {"Disproved", "Disproved"}});
    else
      words.refuseName();
  }
  if (file.empty())
    throw Refusal("--file is missing", provers::STATUS_USAGE);
  bool counts = false;
  provers::readingAll([&] { counts = isAsked(file); });
  said_t all = said_t::NOTHING;
  const auto take = [&all](std::string_view line) {
    const said_t said = saidBy(line);
    if (said != said_t::NOTHING)
      all = all == said_t::NOTHING || all == said ? said : said_t::OTHER;
  };
  if (!provers::readLines([] { return false; }, take))
    std::fputs("kelvarune-szs-reader: cannot read the prover's output to its end\n", stderr);
  const std::string verdict = !counts                  ? "Unknown"
                              : all == said_t::PROVED  ? "Proved"
                              : all == said_t::COUNTER ? counter
                                                       : "Unknown";
  provers::print(verdict + "\n");
}

} // namespace

int main(int argc, char **argv) {
  return provers::runTool("kelvarune-szs-reader", HELP, argc, argv, run);
}
