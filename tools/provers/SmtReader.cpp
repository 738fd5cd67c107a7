// Says what a prover's answers to an SMT-LIB file are worth: one verdict per goal, whatever it
// printed.

#include "CommandLine.h"
#include "Output.h"
#include "goals/Source.h"

#include <algorithm>
#include <deque>
#include <optional>
#include <unordered_map>

using namespace kelvarune;
using provers::Refusal;

namespace {

const char *const HELP =
    R"(Usage: kelvarune-smt-reader [options]
Reads a prover's answers on standard input and prints one verdict per goal.

      --file <FILE>         The file that kelvarune-smt-writer wrote for the prover; it says
                            which goals were asked and whether models were.
      --sat <VERDICT>       What "sat" means: Unknown (the default) or Disproved.
  -h, --help                This help.
      --version             The version.

Prints exactly one line per goal of the file, in its order, whatever the prover printed: "Proved"
for "unsat", the verdict of --sat for "sat", and "Unknown" for everything else. When models were
asked for, the prover's words about the models follow the verdicts.

"Proved" and "Disproved" are only printed for a goal whose answer is beyond doubt. The prover must
have echoed the goal's name before it, and again after it, once each; between the two it must have
given one answer and no error. An error outside all goals spoils them all, since a push or a reset
may have failed and goals may then see the hypotheses of others. What a prover says it does not
support may have been a hypothesis: then "sat" is no disproof.

It reads its input to the end, so that no prover dies of a broken pipe.

Exit status: 0; 1 when the goals are not known; 2 for a bad command line.
)";

// What the prover said about one goal.
struct answered_t {
  int begun = 0;
  bool ended = false;
  bool broken = false;
  bool incomplete = false; // something in it is not supported
  std::vector<std::string> answers;
  std::string model;

  std::string verdict(const std::string &sat) const {
    if (broken || !ended || begun != 1 || answers.size() != 1)
      return "Unknown";
    if (answers.front() == "unsat")
      return "Proved";
    return answers.front() == "sat" && !incomplete ? sat : "Unknown";
  }
};

class Answers {
public:
  explicit Answers(const std::string &path);

  void take(std::string_view line);
  bool takesModel() const { return modelled != nullptr; }
  std::string text(const std::string &sat) const;

private:
  bool takeMark(std::string_view text);
  void takeWord(std::string_view text);

  std::deque<answered_t> goals; // stay where they are
  std::unordered_map<std::string, answered_t *> goalNamed;
  bool models = false;
  bool plain = false;
  answered_t *current = nullptr;  // is being answered
  answered_t *modelled = nullptr; // its model is being printed
};

Answers::Answers(const std::string &path) {
  auto read = goals::readSource(path);
  if (const auto *error = std::get_if<goals::source_error_t>(&read))
    throw Refusal("cannot read " + path + ": " + error->text);
  std::string_view rest = std::get<std::string>(read);
  const auto nextLine = [&rest] {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return provers::wordsOf(line);
  };
  const std::vector<std::string_view> header = nextLine();
  if (header.size() < 6 || header[0] != ";;" || header[1] != "kelvarune-smt-writer" ||
      header[2] != "goals")
    throw Refusal(path + " was not written by kelvarune-smt-writer");
  models = header[5] == "yes";
  plain = header.size() > 6 && header[6] == "plain";
  for (std::vector<std::string_view> words = nextLine();
       words.size() >= 4 && words[0] == ";;" && (words[1] == "goal" || words[1] == "skipped");
       words = nextLine()) {
    answered_t &goal = goals.emplace_back();
    if (words[1] == "goal")
      goalNamed.emplace(std::string(words[2]) + " " + std::string(words[3]), &goal);
  }
  if (header[3] != std::to_string(goals.size()))
    throw Refusal(path + " is cut off: it names " + std::to_string(goals.size()) + " goals, not " +
                  std::string(header[3]));
  if (plain && !goalNamed.empty()) { // all that is printed is about the one goal
    current = &goals.front();
    current->begun = 1;
    current->ended = true;
  }
}

// cvc5 echoes a name with its quotes, z3 without.
bool Answers::takeMark(std::string_view text) {
  while (!text.empty() && text.front() == '"')
    text.remove_prefix(1);
  while (!text.empty() && text.back() == '"')
    text.remove_suffix(1);
  const std::size_t blank = text.find(' ');
  if (plain || blank == std::string_view::npos)
    return false;
  const auto found = goalNamed.find(std::string(text.substr(blank + 1)));
  if (found == goalNamed.end())
    return false;
  answered_t *const goal = found->second;
  const std::string_view mark = text.substr(0, blank);
  if (mark == "goal") {
    current = goal;
    modelled = nullptr;
    ++goal->begun;
  } else if (mark == "end") {
    goal->broken |= goal != current;
    goal->ended = true;
    current = modelled = nullptr;
  } else if (mark == "model" && models) {
    modelled = goal;
  } else if (mark == "end-model") {
    modelled = nullptr;
  } else {
    return false;
  }
  return true;
}

void Answers::takeWord(std::string_view text) {
  static constexpr std::string_view WORDS[] = {"sat", "unsat", "unknown", "timeout"};
  const bool isError = text.substr(0, 6) == "(error";
  if (isError || text == "unsupported") {
    for (answered_t &goal : goals) {
      if (current && &goal != current)
        continue;
      goal.broken |= isError || !current;
      goal.incomplete = true;
    }
  } else if (current && std::find(std::begin(WORDS), std::end(WORDS), text) != std::end(WORDS)) {
    current->answers.emplace_back(text);
  }
}

void Answers::take(std::string_view line) {
  const std::string_view text = provers::stripped(line);
  if (takeMark(text))
    return;
  if (modelled)
    modelled->model.append(line).push_back('\n');
  else
    takeWord(text);
}

std::string Answers::text(const std::string &sat) const {
  std::string verdicts;
  std::string saidOfModels;
  for (const answered_t &goal : goals) {
    const std::string verdict = goal.verdict(sat);
    verdicts += verdict + "\n";
    // A proved goal has no model; all that provers print for it is an error.
    if (verdict != "Proved")
      saidOfModels += goal.model;
  }
  return verdicts + saidOfModels;
}

void run(provers::Words &words) {
  std::string file;
  std::string sat = "Unknown";
  while (words.next()) {
    const std::string name = words.name();
    if (name == "--file")
      file = words.value();
    else if (name == "--sat")
      sat = provers::chosen<std::string>(name, words.value(),
                                         {{"Unknown", "Unknown"}, {"Disproved", "Disproved"}});
    else
      words.refuseName();
  }
  if (file.empty())
    throw Refusal("--file is missing", provers::STATUS_USAGE);
  std::optional<Answers> asked;
  provers::readingAll([&] { asked.emplace(file); });
  Answers &answers = *asked;
  // After an error the answers that came before it count.
  if (!provers::readLines([&] { return answers.takesModel(); },
                          [&](std::string_view line) { answers.take(line); }))
    std::fputs("kelvarune-smt-reader: cannot read the prover's output to its end\n", stderr);
  provers::print(answers.text(sat));
}

} // namespace

int main(int argc, char **argv) {
  return provers::runTool("kelvarune-smt-reader", HELP, argc, argv, run);
}
