// Writes one goal as a TPTP problem for a prover.

#include "CommandLine.h"
#include "Goals.h"
#include "Output.h"
#include "goals/TptpProblem.h"

using namespace kelvarune;
using provers::asked_t;
using provers::Refusal;

namespace {

const char *const HELP = R"(Usage: kelvarune-tptp-writer [options]
Writes a goal of a proof obligation file as a TPTP problem for a prover.

  -a I J                    The goal: goal J of obligation I, both from 0. A problem has no
                            place for a second one: the driver's group must be none.
  -i POG                    The proof obligation file, made by kelvarune-goals.
  -o FILE                   The file to write.
  -m                        Changes nothing: what a prover says of models is its own option.
  -h, --help                This help.
      --version             The version.

What the problem includes stands in the file itself. Of a goal in another language nothing is asked.

Exit status: 0; 1 when the goal cannot be written, also when the file that it is in is gone or has
changed since the POG was made: then there is no FILE; 2 for a bad command line.
)";

void run(provers::Words &words) {
  provers::order_t order;
  while (words.next()) {
    if (!order.takes(words))
      words.refuseName();
  }
  const std::vector<asked_t> asked = provers::askedGoals(order);
  if (asked.size() != 1)
    throw Refusal("one goal per file: the driver's group must be none");
  const bool isAsked = asked[0].goal.language == goals::language_t::TPTP;
  std::vector<std::string> parts = {std::string("% kelvarune-tptp-writer ") +
                                    (isAsked ? "goal " : "skipped ") + asked[0].number() + " " +
                                    asked[0].name() + "\n"};
  if (!isAsked) // some provers complain of nothing at all
    parts.emplace_back("fof(nothing,axiom,$true).\n");
  provers::visitSources(
      order, asked, goals::language_t::TPTP, [&](const provers::source_t &source) {
        std::string digest;
        auto text = goals::tptpGoal(source.text, source.directory, source.indexes.front(), &digest);
        if (!text)
          provers::refuseChanged(asked[0]);
        provers::checkDigest(asked[0], digest);
        parts.push_back(std::move(*text));
      });
  provers::writeFile(order.output, parts);
}

} // namespace

int main(int argc, char **argv) {
  return provers::runTool("kelvarune-tptp-writer", HELP, argc, argv, run);
}
