// What a script has asserted at each of its checks. The stack is kept as digests of sequences, one
// for each push, so that a check costs the same however much stands before it.

#include "SmtScript.h"

#include "SmtLexer.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <unordered_map>
#include <utility>

namespace kelvarune::goals {

namespace {

enum class kind_t {
  ASSERTED, // also every command that is not known: to leave one out could change what holds
  DECLARED,
  CHECK,
  ASSUMING,
  PUSH,
  POP,
  RESET,
  RESET_ASSERTIONS,
  EXIT,
  LOGIC,
  OPTION,
  INFORMATION,
  QUERY
};

kind_t kindOf(std::string_view name) {
  static constexpr std::pair<std::string_view, kind_t> KINDS[] = {
      {"assert", kind_t::ASSERTED},
      {"check-sat", kind_t::CHECK},
      {"check-sat-using", kind_t::CHECK}, // z3's; which tactic it takes is the mechanism's business
      {"check-sat-assuming", kind_t::ASSUMING},
      {"push", kind_t::PUSH},
      {"pop", kind_t::POP},
      {"reset", kind_t::RESET},
      {"reset-assertions", kind_t::RESET_ASSERTIONS},
      {"exit", kind_t::EXIT},
      {"set-logic", kind_t::LOGIC},
      {"set-option", kind_t::OPTION},
      {"set-info", kind_t::INFORMATION},
      {"echo", kind_t::QUERY},
      // z3's.
      {"apply", kind_t::QUERY},
      {"display", kind_t::QUERY},
      {"eval", kind_t::QUERY},
      {"help", kind_t::QUERY},
      {"labels", kind_t::QUERY},
      {"simplify", kind_t::QUERY},
  };
  const auto *const found = std::find_if(std::begin(KINDS), std::end(KINDS),
                                         [name](const auto &kind) { return kind.first == name; });
  if (found != std::end(KINDS))
    return found->second;
  const auto startsWith = [name](std::string_view text) {
    return name.substr(0, text.size()) == text;
  };
  if (startsWith("declare-") || startsWith("define-"))
    return kind_t::DECLARED;
  return startsWith("get-") ? kind_t::QUERY : kind_t::ASSERTED;
}

// Whose values are nobody's business but the prover's user's: where it prints what, and when it
// gives up. A mechanism says that.
bool isLeftOut(std::string_view option) {
  static constexpr std::string_view NAMES[] = {":diagnostic-output-channel",
                                               ":print-success",
                                               ":regular-output-channel",
                                               ":reproducible-resource-limit",
                                               ":rlimit",
                                               ":rlimit-per",
                                               ":timeout",
                                               ":tlimit",
                                               ":tlimit-per",
                                               ":verbosity"};
  return std::find(std::begin(NAMES), std::end(NAMES), option) != std::end(NAMES);
}

// Commands in the order in which they came: their digest, or they themselves for whoever wants to
// write them. Then the digest is made when it is needed, of what is left by then.
class Sequence {
public:
  struct mark_t {
    digest_t digest;
    std::size_t size;
  };

  void add(const smt_command_t &command, bool kept) {
    ++size;
    if (kept)
      commands.push_back(command.text);
    else
      running = following(running, command.digest);
  }
  mark_t end() const { return {running, size}; }
  void cut(const mark_t &mark) {
    running = mark.digest;
    size = mark.size;
    commands.resize(std::min(size, commands.size()));
  }
  bool isEmpty() const { return size == 0; }
  digest_t digest() const {
    digest_t result = running;
    for (const std::string_view command : commands)
      result = following(result, smtCommandOf(command).digest);
    return result;
  }

  std::vector<std::string_view> commands;

private:
  digest_t running;
  std::size_t size = 0;
};

constexpr std::size_t MOST_LEVELS = 1U << 31; // of a single push

// What a prover would know at a point of the script.
class State {
public:
  explicit State(bool keeping) : keeping(keeping) {}

  // Returns what is wrong with the command, or null.
  const char *follow(kind_t kind, const smt_command_t &command);
  smt_goal_t goal(const smt_command_t &check) const;

  std::string_view status;

private:
  struct frame_t {
    std::size_t times; // pushes in a row, which a script may count in millions
    Sequence::mark_t base;
  };

  const char *pushOrPop(kind_t kind, const smt_command_t &command);
  void pop(std::size_t count);
  const char *set(const smt_command_t &command);
  void resetAssertions();

  bool keeping;
  bool global = false;                // declarations outlive a pop
  std::vector<smt_command_t> options; // in the order in which their names came first
  std::unordered_map<std::string_view, std::size_t> optionNamed;
  std::optional<smt_command_t> logic;
  Sequence globals;
  Sequence stack;
  std::vector<frame_t> frames;
  std::size_t depth = 0;
};

const char *State::follow(kind_t kind, const smt_command_t &command) {
  switch (kind) {
  case kind_t::ASSERTED:
    stack.add(command, keeping);
    break;
  case kind_t::DECLARED:
    (global ? globals : stack).add(command, keeping);
    break;
  case kind_t::PUSH:
  case kind_t::POP:
    return pushOrPop(kind, command);
  case kind_t::RESET:
    *this = State(keeping);
    break;
  case kind_t::RESET_ASSERTIONS:
    resetAssertions();
    break;
  case kind_t::LOGIC:
    logic = command;
    break;
  case kind_t::OPTION:
    return set(command);
  case kind_t::INFORMATION:
    if (command.atoms[0] == ":status")
      status = command.atoms[1];
    break;
  default:
    break;
  }
  return nullptr;
}

const char *State::pushOrPop(kind_t kind, const smt_command_t &command) {
  const std::string_view text = command.atoms[0].empty() ? "1" : command.atoms[0];
  std::size_t count = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
  if (error != std::errc() || end != text.data() + text.size() || count > MOST_LEVELS)
    return "not a number of levels";
  if (kind == kind_t::POP) {
    if (count > depth)
      return "more levels are popped than were pushed";
    pop(count);
  } else if (count > 0) {
    frames.push_back({count, stack.end()});
    depth += count;
  }
  return nullptr;
}

void State::pop(std::size_t count) {
  depth -= count;
  while (count > 0) {
    frame_t &frame = frames.back();
    stack.cut(frame.base);
    const std::size_t times = std::min(count, frame.times);
    count -= times;
    frame.times -= times;
    if (frame.times == 0)
      frames.pop_back();
  }
}

const char *State::set(const smt_command_t &command) {
  const std::string_view name = command.atoms[0];
  if (isLeftOut(name))
    return nullptr;
  if (name == ":global-declarations") {
    if (!stack.isEmpty() || !globals.isEmpty() || depth > 0)
      return "too late for this option";
    global = command.atoms[1] == "true";
  }
  const auto [found, isNew] = optionNamed.emplace(name, options.size());
  if (isNew)
    options.push_back(command);
  else
    options[found->second] = command;
  return nullptr;
}

void State::resetAssertions() {
  stack = {};
  frames.clear();
  depth = 0;
}

smt_goal_t State::goal(const smt_command_t &check) const {
  const bool assumes = kindOf(check.name) == kind_t::ASSUMING;
  const auto digestOfCommand = [this](const smt_command_t &command) {
    return keeping ? smtCommandOf(command.text).digest : command.digest;
  };
  digest_t digest;
  for (const smt_command_t &option : options)
    digest = following(digest, digestOfCommand(option));
  for (const digest_t &part : {logic ? digestOfCommand(*logic) : digest_t(), globals.digest(),
                               stack.digest(), assumes ? digestOfCommand(check) : digest_t()})
    digest = following(digest, part);

  smt_goal_t result;
  result.digest = hexOf(digest);
  if (!keeping)
    return result;
  for (const smt_command_t &option : options)
    result.options.push_back(option.text);
  result.logic = logic ? logic->text : std::string_view();
  result.declarations = globals.commands;
  result.commands = stack.commands;
  result.check = assumes ? check.text : "(check-sat)";
  if (assumes)
    result.assumptions = smtListOf(check);
  return result;
}

// Calls visit(state, command) for each check, until it returns false.
template <typename Visit>
std::optional<fault_t> followScript(std::string_view script, bool keeping, const Visit &visit) {
  SmtCommands commands(script, !keeping);
  State state(keeping);
  for (smt_command_t command; commands.next(command);) {
    const kind_t kind = kindOf(command.name);
    if (kind == kind_t::EXIT)
      break;
    if (kind == kind_t::CHECK || kind == kind_t::ASSUMING) {
      if (!visit(state, command, commands.offsetOf(command)))
        break;
      state.status = {};
    } else if (const char *what = state.follow(kind, command)) {
      commands.fail(command, what);
    }
  }
  return commands.fault();
}

} // namespace

std::optional<fault_t> scanSmt(std::string_view script, const visit_t &visit) {
  LineCounter lines(script);
  std::size_t index = 0;
  return followScript(script, false,
                      [&](const State &state, const smt_command_t &check, std::size_t offset) {
                        visit({index++,
                               lines.lineOf(offset),
                               state.goal(check).digest,
                               std::string(state.status),
                               {}});
                        return true;
                      });
}

std::optional<fault_t> visitSmtGoals(std::string_view script,
                                     const std::vector<std::size_t> &indexes,
                                     const std::function<void(const smt_goal_t &)> &visit) {
  std::size_t index = 0;
  auto wanted = indexes.begin();
  if (wanted == indexes.end())
    return std::nullopt;
  return followScript(script, true,
                      [&](const State &state, const smt_command_t &check, std::size_t /*offset*/) {
                        for (; wanted != indexes.end() && *wanted == index; ++wanted) {
                          smt_goal_t goal = state.goal(check);
                          goal.index = index;
                          visit(goal);
                        }
                        ++index;
                        return wanted != indexes.end();
                      });
}

std::string scriptOf(const smt_goal_t &goal) {
  std::string script;
  const auto write = [&script](std::string_view command) {
    if (!command.empty())
      script.append(command).push_back('\n');
  };
  std::for_each(goal.options.begin(), goal.options.end(), write);
  write(goal.logic);
  std::for_each(goal.declarations.begin(), goal.declarations.end(), write);
  std::for_each(goal.commands.begin(), goal.commands.end(), write);
  write(goal.check);
  return script;
}

std::optional<std::string> smtGoal(std::string_view script, std::size_t index,
                                   std::string *digest) {
  std::optional<std::string> result;
  visitSmtGoals(script, {index}, [&](const smt_goal_t &goal) {
    if (digest)
      *digest = goal.digest;
    result = scriptOf(goal);
  });
  return result;
}

} // namespace kelvarune::goals
