// The goals of a TPTP problem: its formulas with everything that they include, in order.

#include "TptpProblem.h"

#include "Source.h"
#include "TptpLexer.h"

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <variant>

namespace kelvarune::goals {

namespace {

constexpr std::size_t MOST_INCLUDED = std::size_t{1} << 30; // bytes, which files can multiply

struct conjecture_t {
  std::size_t line;
  std::string name;
  digest_t digest;
  std::string_view text;
};

class Problem {
public:
  explicit Problem(bool keeping) : keeping(keeping) {}

  std::optional<fault_t> read(std::string_view problem, const std::string &directory);

  std::vector<check_t> checks() const;
  std::string textOf(std::size_t index) const;

private:
  struct selection_t {
    bool all = true;
    std::vector<std::string_view> names;
  };
  // Statements of the problem have lines of their own, those of a file that it includes the line of
  // the include.
  std::optional<fault_t> add(std::string_view text, const std::string &directory,
                             const selection_t &selection, std::size_t includeLine);
  std::optional<std::string> include(const tptp_statement_t &statement,
                                     const std::string &directory, std::size_t line);
  void take(const tptp_statement_t &statement, std::size_t line);

  bool keeping;
  digest_t assumed; // everything but the conjectures
  std::vector<std::string_view> assumptions;
  std::vector<conjecture_t> conjectures;
  std::size_t refutationLine = 0; // of the first negated conjecture
  std::string expected;
  std::deque<std::string> included; // texts that statements are parts of
  std::vector<std::string> open;    // files that include each other
  std::size_t includedBytes = 0;
};

std::string_view unquoted(std::string_view text) {
  const bool isQuoted = text.size() >= 2 && text.front() == '\'';
  return isQuoted ? text.substr(1, text.size() - 2) : text;
}

std::string directoryOf(const std::string &path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash);
}

std::optional<fault_t> Problem::read(std::string_view problem, const std::string &directory) {
  return add(problem, directory, {}, 0);
}

std::optional<fault_t> Problem::add(std::string_view text, const std::string &directory,
                                    const selection_t &selection, std::size_t includeLine) {
  TptpStatements statements(text);
  LineCounter lines(text);
  for (tptp_statement_t statement; statements.next(statement);) {
    const std::size_t ownLine = lines.lineOf(statements.offsetOf(statement.text));
    const std::size_t line = includeLine > 0 ? includeLine : ownLine;
    if (statement.keyword == "include") {
      if (const auto message = include(statement, directory, line))
        return faultAt(text, statements.offsetOf(statement.text), *message);
    } else if (selection.all || std::find(selection.names.begin(), selection.names.end(),
                                          statement.name) != selection.names.end()) {
      take(statement, line);
    }
  }
  if (includeLine == 0)
    expected = statements.status();
  return statements.fault();
}

void Problem::take(const tptp_statement_t &statement, std::size_t line) {
  if (statement.role == "conjecture") {
    conjectures.push_back(
        {line, std::string(unquoted(statement.name)), statement.digest, statement.text});
    return;
  }
  if (statement.role == "negated_conjecture" && refutationLine == 0)
    refutationLine = line;
  assumed = following(assumed, statement.digest);
  if (keeping)
    assumptions.push_back(statement.text);
}

std::optional<std::string> Problem::include(const tptp_statement_t &statement,
                                            const std::string &directory, std::size_t line) {
  const std::string name(unquoted(statement.name));
  if (name.empty())
    return "an include without a file";
  const char *const library = std::getenv("TPTP");
  std::string path = name.front() == '/' ? name : directory + "/" + name;
  std::variant<std::string, source_error_t> source = readSource(path);
  if (!std::holds_alternative<std::string>(source) && library && name.front() != '/') {
    path = std::string(library) + "/" + name;
    source = readSource(path);
  }
  if (const auto *error = std::get_if<source_error_t>(&source))
    return "cannot read the included " + name + ": " + error->text;
  if (std::find(open.begin(), open.end(), path) != open.end())
    return name + " includes itself";
  std::string &text = included.emplace_back(std::get<std::string>(std::move(source)));
  includedBytes += text.size();
  if (open.size() >= 100 || includedBytes > MOST_INCLUDED)
    return "too much is included";

  open.push_back(path);
  const auto fault = add(text, directoryOf(path), {!statement.selects, statement.selected}, line);
  open.pop_back();
  if (!keeping) // nothing looks at the text again
    included.pop_back();
  if (!fault)
    return std::nullopt;
  return name + ":" + std::to_string(fault->line) + ":" + std::to_string(fault->column) + ": " +
         fault->text;
}

std::vector<check_t> Problem::checks() const {
  std::vector<check_t> result;
  for (const conjecture_t &conjecture : conjectures)
    result.push_back({result.size(), conjecture.line, hexOf(following(assumed, conjecture.digest)),
                      expected, conjecture.name});
  if (conjectures.empty() && (refutationLine > 0 || expected == "Unsatisfiable"))
    result.push_back({0, std::max<std::size_t>(refutationLine, 1), hexOf(assumed), expected, {}});
  return result;
}

std::string Problem::textOf(std::size_t index) const {
  std::string text;
  for (const std::string_view assumption : assumptions)
    text.append(assumption).push_back('\n');
  if (!conjectures.empty())
    text.append(conjectures[index].text).push_back('\n');
  return text;
}

} // namespace

std::optional<fault_t> scanTptp(std::string_view problem, const std::string &directory,
                                const visit_t &visit) {
  Problem whole(false);
  if (auto fault = whole.read(problem, directory))
    return fault;
  for (const check_t &check : whole.checks())
    visit(check);
  return std::nullopt;
}

std::optional<std::string> tptpGoal(std::string_view problem, const std::string &directory,
                                    std::size_t index, std::string *digest) {
  Problem whole(true);
  if (whole.read(problem, directory))
    return std::nullopt;
  const std::vector<check_t> checks = whole.checks();
  if (index >= checks.size())
    return std::nullopt;
  if (digest)
    *digest = checks[index].digest;
  return whole.textOf(index);
}

} // namespace kelvarune::goals
