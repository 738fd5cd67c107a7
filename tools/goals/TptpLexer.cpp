// Taking TPTP problems apart, as far as to know where a formula ends and what it is for.

#include "TptpLexer.h"

#include <algorithm>

namespace kelvarune::goals {

namespace {

constexpr std::string_view TPTP_BLANKS = " \t\r\n\f\v";
constexpr std::string_view TPTP_OPERATORS = "!?~&|<>=@^:*+-/\\";

bool isWordLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         c == '$' || static_cast<unsigned char>(c) >= 0x80;
}

bool isOperator(char c) {
  return TPTP_OPERATORS.find(c) != std::string_view::npos;
}

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(TPTP_BLANKS);
  if (begin == std::string_view::npos)
    return {};
  return text.substr(begin, text.find_last_not_of(TPTP_BLANKS) - begin + 1);
}

} // namespace

TptpStatements::TptpStatements(std::string_view problem) : problem(problem) {
  const std::size_t zero = problem.find('\0');
  if (zero != std::string_view::npos)
    fail(zero, "a byte 0");
}

// "% Status   : Theorem", as the header of a problem has it.
void TptpStatements::takeComment(std::string_view line) {
  static constexpr std::string_view STATUS = "Status";
  const std::size_t colon = line.find(':');
  if (foretold.empty() && colon != std::string_view::npos &&
      trimmed(line.substr(1, colon - 1)) == STATUS) {
    const std::string_view value = trimmed(line.substr(colon + 1));
    foretold = value.substr(0, value.find_first_of(TPTP_BLANKS));
  }
}

// Blanks and comments; false at the end.
bool TptpStatements::skipBlanks() {
  while (at < problem.size() && !broken) {
    if (TPTP_BLANKS.find(problem[at]) != std::string_view::npos) {
      ++at;
    } else if (problem[at] == '%') {
      const std::size_t end = std::min(problem.find('\n', at), problem.size());
      takeComment(problem.substr(at, end - at));
      at = end;
    } else if (problem.substr(at, 2) == "/*") {
      const std::size_t end = problem.find("*/", at + 2);
      if (end == std::string_view::npos)
        fail(at, "a comment without an end");
      else
        at = end + 2;
    } else {
      return true;
    }
  }
  return false;
}

// A backslash takes the next letter's meaning away.
bool TptpStatements::endOfQuoted() {
  const char quote = problem[at];
  for (std::size_t i = at + 1; i < problem.size(); ++i) {
    if (problem[i] == '\\') {
      ++i;
    } else if (problem[i] == quote) {
      at = i + 1;
      return true;
    }
  }
  fail(at, "a quoted text without an end");
  return false;
}

std::string_view TptpStatements::token() {
  if (!skipBlanks())
    return {};
  const std::size_t begin = at;
  const char first = problem[at];
  if (first == '\'' || first == '"') {
    if (!endOfQuoted())
      return {};
  } else if (isWordLetter(first)) {
    at = static_cast<std::size_t>(
        std::find_if_not(problem.begin() + at, problem.end(), isWordLetter) - problem.begin());
  } else if (isOperator(first)) {
    while (at < problem.size() && isOperator(problem[at]) &&
           (at == begin || problem.substr(at, 2) != "/*"))
      ++at;
  } else {
    ++at;
  }
  return problem.substr(begin, at - begin);
}

bool TptpStatements::next(tptp_statement_t &statement) {
  const std::string_view first = token();
  if (first.empty())
    return false;
  statement = {};
  statement.keyword = first;
  if (first.front() < 'a' || first.front() > 'z') {
    fail(offsetOf(first), "this is no formula");
    return false;
  }
  digest.add(first);
  std::size_t depth = 0;
  std::size_t commas = 0; // between the statement's own arguments
  for (std::string_view part = token();; part = token()) {
    if (part.empty() || broken || (depth == 0 && part != "(" && part != ".")) {
      if (!broken)
        fail(offsetOf(first), part.empty() ? "a formula without an end" : "this is no formula");
      digest.take();
      return false;
    }
    digest.add(part);
    if (depth == 0 && part == ".") {
      statement.text = problem.substr(offsetOf(first), at - offsetOf(first));
      statement.digest = digest.take();
      if (statement.name.empty())
        fail(offsetOf(first), "a formula without a name");
      return !broken;
    }
    const bool opens = part == "(" || part == "[" || part == "{";
    const bool closes = part == ")" || part == "]" || part == "}";
    if (closes)
      --depth;
    else if (opens)
      ++depth;
    else if (depth == 1 && part == ",")
      ++commas;
    else if (depth == 1 && commas == 0 && statement.name.empty())
      statement.name = part;
    else if (depth == 1 && commas == 1 && statement.role.empty())
      statement.role = part;
    if (statement.keyword == "include" && commas == 1 && depth >= 1) {
      statement.selects |= part == "[";
      if (depth == 2 && !opens && part != ",")
        statement.selected.push_back(part);
    }
  }
}

} // namespace kelvarune::goals
