// Taking SMT-LIB scripts apart. Nothing here calls itself: a script may nest as deep as it likes.

#include "SmtLexer.h"

#include <algorithm>
#include <utility>

namespace kelvarune::goals {

namespace {

enum class letter_t : unsigned char { ATOM, BLANK, PARENTHESIS, STRING, BAR, COMMENT, BAD };

constexpr std::array<letter_t, 256> letterTable() {
  std::array<letter_t, 256> table{};
  for (unsigned char c = 0; c < ' '; ++c)
    table[c] = letter_t::BAD;
  table[0x7f] = letter_t::BAD;
  for (const unsigned char c : {' ', '\t', '\r', '\n'})
    table[c] = letter_t::BLANK;
  table['('] = table[')'] = letter_t::PARENTHESIS;
  table['"'] = letter_t::STRING;
  table['|'] = letter_t::BAR;
  table[';'] = letter_t::COMMENT;
  return table;
}

constexpr std::array<letter_t, 256> LETTERS = letterTable();

letter_t letterOf(char c) {
  return LETTERS[static_cast<unsigned char>(c)];
}

} // namespace

void SmtTokens::skipBlanks() {
  // Positions in locals: they stay in registers, which is felt where whole libraries are read.
  const char *const end = text.data() + text.size();
  const char *place = text.data() + at;
  for (; place < end; ++place) {
    const letter_t letter = letterOf(*place);
    if (letter == letter_t::COMMENT)
      place = std::find_if(place, end, [](char c) { return c == '\n' || c == '\r'; }) - 1;
    else if (letter != letter_t::BLANK)
      break;
  }
  at = static_cast<std::size_t>(place - text.data());
}

std::string_view SmtTokens::next() {
  skipBlanks();
  if (at >= text.size() || broken)
    return {};
  const std::size_t begin = at;
  switch (letterOf(text[at])) {
  case letter_t::PARENTHESIS:
    ++at;
    break;
  case letter_t::STRING:
    at = endOfString(begin);
    break;
  case letter_t::BAR:
    at = endOfQuotedSymbol(begin);
    break;
  case letter_t::BAD:
    fail(begin, "a control character");
    break;
  default:
    const char *const end = text.data() + text.size();
    const char *place = text.data() + at;
    while (place < end && letterOf(*place) == letter_t::ATOM)
      ++place;
    at = static_cast<std::size_t>(place - text.data());
  }
  return broken ? std::string_view() : text.substr(begin, at - begin);
}

// Strings and symbols are whole tokens; a comment is none.
void SmtTokens::passQuoted(TokenDigest *digest) {
  if (letterOf(text[at]) == letter_t::COMMENT)
    return skipBlanks();
  const std::string_view token = next();
  if (digest && !broken)
    digest->add(token);
}

std::string_view SmtTokens::skipToEnd(std::size_t depth, TokenDigest *digest) {
  while (at < text.size() && !broken) {
    if (letterOf(text[at]) > letter_t::PARENTHESIS)
      passQuoted(digest);
    else if (digest ? digestPlain(depth, *digest) : skipPlain(depth))
      return text.substr(at - 1, 1);
  }
  return {};
}

bool SmtTokens::skipPlain(std::size_t &depth) {
  const char *const end = text.data() + text.size();
  const char *place = text.data() + at;
  for (; place < end && depth > 0 && letterOf(*place) <= letter_t::PARENTHESIS; ++place)
    depth += static_cast<std::size_t>(*place == '(') - static_cast<std::size_t>(*place == ')');
  at = static_cast<std::size_t>(place - text.data());
  return depth == 0;
}

// The loop has no branch that depends on where tokens end: no processor can foretell that, and
// guessing wrong once per token would be most of the time that an import takes.
bool SmtTokens::digestPlain(std::size_t &depth, TokenDigest &digest) {
  constexpr std::size_t BLOCK = 4096;
  constexpr std::size_t MOST_PER_LETTER =
      3; // the blank of an atom before, a parenthesis, its blank
  constexpr std::array<unsigned char, 3> LENGTHS = {1, 0,
                                                    2}; // of atoms' letters, blanks, parentheses
  const char *place = text.data() + at;
  const char *const end = place + std::min(text.size() - at, BLOCK);
  char *const room = digest.room(MOST_PER_LETTER * BLOCK + 1);
  char *written = room;
  unsigned char inAtom = 0;
  for (; place < end && depth > 0; ++place) {
    const char c = *place;
    const letter_t letter = letterOf(c);
    if (letter > letter_t::PARENTHESIS)
      break;
    const auto isAtom = static_cast<unsigned char>(letter == letter_t::ATOM);
    *written = ' ';
    written += inAtom & ~isAtom;
    written[0] = c;
    written[1] = ' ';
    written += LENGTHS[static_cast<std::size_t>(letter)];
    inAtom = isAtom;
    depth += static_cast<std::size_t>(c == '(') - static_cast<std::size_t>(c == ')');
  }
  at = static_cast<std::size_t>(place - text.data());
  // An atom goes on behind the block.
  if (inAtom != 0 && (at == text.size() || letterOf(text[at]) != letter_t::ATOM))
    *written++ = ' ';
  digest.wrote(static_cast<std::size_t>(written - room));
  return depth == 0;
}

// Two double quotes in a row stand for one inside.
std::size_t SmtTokens::endOfString(std::size_t quote) {
  std::size_t close = text.find('"', quote + 1);
  while (close != std::string_view::npos && text.substr(close + 1, 1) == "\"")
    close = text.find('"', close + 2);
  if (close != std::string_view::npos)
    return close + 1;
  fail(quote, "a string without an end");
  return text.size();
}

// Where a bar follows a backslash, some provers see the end of the symbol and others do not.
std::size_t SmtTokens::endOfQuotedSymbol(std::size_t bar) {
  const std::size_t close = text.find('|', bar + 1);
  if (close == std::string_view::npos)
    fail(bar, "a quoted symbol without an end");
  else if (text[close - 1] == '\\')
    fail(close - 1, "a backslash before the bar, which provers read in different ways");
  return broken ? text.size() : close + 1;
}

SmtCommands::SmtCommands(std::string_view script, bool digesting)
    : digesting(digesting), tokens(script) {
  static constexpr std::string_view BYTE_ORDER_MARK = "\xef\xbb\xbf";
  const std::size_t zero = script.find('\0'); // what follows it, many programs never see
  if (zero != std::string_view::npos)
    tokens.fail(zero, "a byte 0");
  else if (script.substr(0, BYTE_ORDER_MARK.size()) == BYTE_ORDER_MARK)
    tokens.skip(BYTE_ORDER_MARK.size());
}

bool SmtCommands::next(smt_command_t &command) {
  std::string_view token = tokens.next();
  if (token.empty())
    return false;
  const std::string_view first = token;
  if (first != "(") {
    tokens.fail(tokens.offsetOf(first),
                first == ")" ? "a closing parenthesis too many" : "this is no command");
    return false;
  }
  command = {};
  std::size_t depth = 1;
  if (digesting)
    digest.add(first);
  for (std::size_t i = 1; depth > 0; ++i) {
    const bool isRest = i > 3;
    token = isRest ? tokens.skipToEnd(std::exchange(depth, 1), digesting ? &digest : nullptr)
                   : tokens.next();
    if (token.empty()) {
      if (!fault())
        tokens.fail(tokens.offsetOf(first), "a command without an end");
      digest.take();
      return false;
    }
    const bool opens = token.front() == '(';
    const bool closes = token.front() == ')';
    if (opens)
      ++depth;
    else if (closes)
      --depth;
    else if (i <= 3 && depth == 1)
      (i == 1 ? command.name : command.atoms[i - 2]) = token;
    if (digesting && !isRest)
      digest.add(token);
  }
  const auto length = static_cast<std::size_t>(token.data() + token.size() - first.data());
  command.text = {first.data(), length};
  if (digesting)
    command.digest = digest.take();
  if (!command.name.empty() && letterOf(command.name.front()) == letter_t::ATOM)
    return true;
  tokens.fail(tokens.offsetOf(first), "a command without a name");
  return false;
}

smt_command_t smtCommandOf(std::string_view text) {
  smt_command_t command;
  SmtCommands(text).next(command);
  return command;
}

std::vector<std::string_view> smtListOf(const smt_command_t &command) {
  SmtTokens tokens(command.text);
  std::vector<std::string_view> forms;
  std::size_t depth = 0;
  const char *begin = nullptr;
  for (std::string_view token = tokens.next(); !token.empty(); token = tokens.next()) {
    if (depth == 2 && token != ")")
      begin = token.data();
    depth += token == "(" ? 1 : 0;
    depth -= token == ")" ? 1 : 0;
    if (depth == 2 && begin) {
      forms.emplace_back(begin, static_cast<std::size_t>(token.data() + token.size() - begin));
      begin = nullptr;
    }
  }
  return forms;
}

} // namespace kelvarune::goals
