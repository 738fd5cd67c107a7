// Writes goals as one SMT-LIB file for a prover. Between two echoes that name it, each goal brings
// its own options, logic, declarations and assertions, so that an error in one is nobody else's.

#include "CommandLine.h"
#include "Goals.h"
#include "Output.h"
#include "goals/SmtLexer.h"
#include "goals/SmtScript.h"

#include <algorithm>

using namespace kelvarune;
using provers::asked_t;
using provers::Refusal;

namespace {

const char *const HELP =
    R"(Usage: kelvarune-smt-writer [options]
Writes goals of a proof obligation file as one SMT-LIB file for a prover.

  -a I J                    A goal: goal J of obligation I, both from 0; may be repeated.
  -i POG                    The proof obligation file, made by kelvarune-goals.
  -o FILE                   The file to write.
  -m                        Also ask the prover for a model of each goal.
      --separate <HOW>      What keeps goals apart: reset (the default), or push for
                            provers without (reset). Then all goals have the options
                            and the logic of the first; others are not asked.
      --plain               For provers that know neither echo nor declare-const, one
                            goal per file.
      --skip <SYMBOLS>      Goals that use one of these symbols or commands, separated
                            by commas, are not asked.
      --logics <NAMES>      Goals of other logics, or of none, are not asked.
      --logic <NAME>        The logic, instead of the goal's own.
      --default-logic <NAME>  The logic of goals that name none.
      --options <WHICH>     Set the options of the goal's script: all (the default) or
                            none. Those that ask for proofs or cores never are.
      --option <SETTING>    One more (set-option SETTING); may be repeated.
  -h, --help                This help.
      --version             The version.

Goals that are not asked, also those in other languages, stay "Unknown" without an error.

Exit status: 0; 1 when a goal cannot be written, also when the file that it is in is gone or has
changed since the POG was made: then there is no FILE; 2 for a bad command line.
)";

struct settings_t {
  provers::order_t order;
  bool push = false;
  bool plain = false;
  bool scriptOptions = true;
  std::vector<std::string> options;
  std::vector<std::string> skip;
  std::vector<std::string> logics;
  std::string logic;
  std::string defaultLogic;
};

// A goal as it will stand in the file.
struct written_t {
  std::string reason; // why it is not asked, when it is not
  std::string setup;
  std::string commands;
};

bool holds(const std::vector<std::string> &words, std::string_view word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

// The first symbol of a command that the prover does not know, or nothing.
std::string_view unknownSymbol(std::string_view command, const std::vector<std::string> &skip) {
  goals::SmtTokens tokens(command);
  for (std::string_view token = tokens.next(); !token.empty(); token = tokens.next()) {
    const bool isQuoted = token.size() > 2 && token.front() == '|';
    if (holds(skip, token) || (isQuoted && holds(skip, token.substr(1, token.size() - 2))))
      return token;
  }
  return {};
}

// What says how the prover answers, which is the writer's business: nothing asks for proofs or
// cores, and declarations need not outlive anything. What z3 calls the options for models changes
// from version to version, and a script with an old one must not fail by it.
bool isForQueries(std::string_view option) {
  const auto startsWith = [option](std::string_view text) {
    return option.substr(0, text.size()) == text;
  };
  return startsWith(":produce-") || startsWith(":model") || startsWith(":MODEL") ||
         option == ":global-declarations";
}

void add(std::string &text, std::string_view line) {
  text.append(line).push_back('\n');
}

std::string setupOf(const goals::smt_goal_t &goal, const std::string &logic,
                    const settings_t &settings) {
  std::string text;
  for (const std::string_view option : goal.options) {
    if (settings.scriptOptions && !isForQueries(goals::smtCommandOf(option).atoms[0]))
      add(text, option);
  }
  for (const std::string &option : settings.options)
    add(text, "(set-option " + option + ")");
  if (settings.order.model)
    add(text, "(set-option :produce-models true)");
  if (!logic.empty())
    add(text, "(set-logic " + logic + ")");
  return text;
}

// A constant as the function without arguments that it is.
std::string asFunction(std::string_view declaration) {
  const goals::smt_command_t command = goals::smtCommandOf(declaration);
  const std::string_view name = command.atoms[0];
  if (command.name != "declare-const" || name.empty())
    return std::string(declaration);
  const std::string_view sort =
      declaration.substr(static_cast<std::size_t>(name.data() + name.size() - declaration.data()));
  return "(declare-fun " + std::string(name) + " ()" + std::string(sort);
}

std::string commandsOf(const goals::smt_goal_t &goal, const settings_t &settings) {
  std::string text;
  for (const auto *commands : {&goal.declarations, &goal.commands}) {
    for (const std::string_view command : *commands)
      add(text, settings.plain ? asFunction(command) : command);
  }
  for (const std::string_view assumption : goal.assumptions)
    add(text, "(assert " + std::string(assumption) + ")");
  return text;
}

std::string reasonToSkip(const goals::smt_goal_t &goal, const std::string &logic,
                         const settings_t &settings) {
  if (!settings.logics.empty() && !holds(settings.logics, logic))
    return logic.empty() ? "it names no logic" : "its logic is " + logic;
  if (settings.skip.empty())
    return {};
  for (const auto *commands : {&goal.declarations, &goal.commands, &goal.assumptions}) {
    for (const std::string_view command : *commands) {
      const std::string_view symbol = unknownSymbol(command, settings.skip);
      if (!symbol.empty())
        return "it uses " + std::string(symbol);
    }
  }
  return {};
}

written_t written(const goals::smt_goal_t &goal, const settings_t &settings) {
  std::string logic = settings.logic;
  if (logic.empty())
    logic = goal.logic.empty() ? settings.defaultLogic : goals::smtCommandOf(goal.logic).atoms[0];
  const std::string reason = reasonToSkip(goal, logic, settings);
  if (!reason.empty())
    return {reason, {}, {}};
  return {{}, setupOf(goal, logic, settings), commandsOf(goal, settings)};
}

// The goals in the order in which they were asked for.
std::vector<written_t> writtenGoals(const std::vector<asked_t> &asked, const settings_t &settings) {
  std::vector<written_t> result(asked.size(), {"it is no SMT-LIB script", {}, {}});
  const auto visit = [&](const provers::source_t &source) {
    std::size_t next = 0;
    goals::visitSmtGoals(source.text, source.indexes, [&](const goals::smt_goal_t &goal) {
      const asked_t &one = *source.goals[next++];
      provers::checkDigest(one, goal.digest);
      result[static_cast<std::size_t>(&one - asked.data())] = written(goal, settings);
    });
    if (next < source.goals.size())
      provers::refuseChanged(*source.goals[next]);
  };
  provers::visitSources(settings.order, asked, goals::language_t::SMTLIB, visit);
  return result;
}

// A stack has one setup.
void skipOtherSetups(std::vector<written_t> &goals) {
  const written_t *first = nullptr;
  for (written_t &goal : goals) {
    if (!goal.reason.empty())
      continue;
    if (!first)
      first = &goal;
    if (goal.setup != first->setup)
      goal.reason = "its options or its logic are not those of the first";
  }
}

std::string section(const asked_t &asked, const written_t &goal, const settings_t &settings,
                    bool isAlone) {
  const auto echo = [&](const char *what) {
    return settings.plain ? "" : "(echo \"" + (what + (" " + asked.number())) + "\")\n";
  };
  std::string text = isAlone ? "\n" : settings.push ? "\n(push 1)\n" : "\n(reset)\n";
  text += echo("goal") + (settings.push ? "" : goal.setup) + goal.commands + "(check-sat)\n" +
          echo("end");
  if (settings.order.model)
    text += echo("model") + "(get-model)\n" + echo("end-model");
  return text + (settings.push && !isAlone ? "(pop 1)\n" : "");
}

void write(const settings_t &settings) {
  const std::vector<asked_t> asked = provers::askedGoals(settings.order);
  const bool isAlone = asked.size() == 1;
  if (settings.plain && !isAlone)
    throw Refusal("--plain writes one goal per file: the driver's group must be none");
  std::vector<written_t> goals = writtenGoals(asked, settings);
  if (settings.push)
    skipOtherSetups(goals);

  // The lines that begin with ";;" are for the reader.
  std::vector<std::string> parts(1);
  parts[0] = ";; kelvarune-smt-writer goals " + std::to_string(asked.size()) + " model " +
             (settings.order.model ? "yes" : "no") + (settings.plain ? " plain" : "") + "\n";
  std::string setup;
  for (std::size_t i = 0; i < goals.size(); ++i) {
    const written_t &goal = goals[i];
    const std::string names = asked[i].number() + " " + asked[i].name();
    if (!goal.reason.empty()) {
      add(parts[0], ";; skipped " + names + ": " + goal.reason);
      continue;
    }
    add(parts[0], ";; goal " + names);
    if (settings.push)
      setup = goal.setup;
    parts.push_back(section(asked[i], goal, settings, isAlone));
  }
  parts[0] += setup;
  parts.emplace_back(settings.plain ? "(exit)\n" : "");
  provers::writeFile(settings.order.output, parts);
}

// A value that goes into a command of its own: exactly what fits between its parentheses.
std::string commandText(const std::string &name, const std::string &text) {
  const std::string command = "(set " + text + ")";
  goals::SmtCommands commands(command);
  goals::smt_command_t first;
  goals::smt_command_t second;
  const bool fits = commands.next(first) && first.text == command && !commands.next(second);
  if (!fits || text.find_first_of(";\n") != std::string::npos || provers::stripped(text).empty())
    throw Refusal("bad value for " + name + ": " + text, provers::STATUS_USAGE);
  return text;
}

void run(provers::Words &words) {
  settings_t settings;
  while (words.next()) {
    const std::string name = words.name();
    if (settings.order.takes(words))
      continue;
    if (name == "--plain")
      settings.plain = true;
    else if (name == "--separate")
      settings.push =
          provers::chosen<bool>(name, words.value(), {{"reset", false}, {"push", true}});
    else if (name == "--options")
      settings.scriptOptions =
          provers::chosen<bool>(name, words.value(), {{"all", true}, {"none", false}});
    else if (name == "--skip")
      settings.skip = provers::splitAtCommas(words.value());
    else if (name == "--logics")
      settings.logics = provers::splitAtCommas(words.value());
    else if (name == "--logic")
      settings.logic = commandText(name, words.value());
    else if (name == "--default-logic")
      settings.defaultLogic = commandText(name, words.value());
    else if (name == "--option")
      settings.options.push_back(commandText(name, words.value()));
    else
      words.refuseName();
  }
  settings.order.model &= !settings.plain;
  write(settings);
}

} // namespace

int main(int argc, char **argv) {
  return provers::runTool("kelvarune-smt-writer", HELP, argc, argv, run);
}
