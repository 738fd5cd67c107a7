#ifndef KELVARUNE_GOALS_SMTLEXER_H
#define KELVARUNE_GOALS_SMTLEXER_H

#include "Digest.h"
#include "Language.h"

#include <array>
#include <optional>
#include <string_view>
#include <vector>

namespace kelvarune::goals {

/// The tokens of SMT-LIB text: parentheses, strings, quoted symbols and all the rest as atoms.
/// Blanks and comments are passed over. Bytes beyond ASCII are taken for letters, whatever they
/// encode.
class SmtTokens {
public:
  explicit SmtTokens(std::string_view text) : text(text) {}

  /// The next token, or an empty one at the end of the text or at a fault.
  std::string_view next();

  /// Goes on so many bytes later.
  void skip(std::size_t count) { at += count; }

  /// Goes on behind the parenthesis that closes this many open ones, and returns it; an empty one
  /// at the end of the text or at a fault. The tokens up to there go into `digest`, if there is
  /// one. Several times as fast as token by token.
  std::string_view skipToEnd(std::size_t depth, TokenDigest *digest);

  /// What has ended the tokens before their end.
  const std::optional<fault_t> &fault() const { return broken; }
  void fail(std::size_t offset, const char *what) { broken = faultAt(text, offset, what); }

  std::size_t offsetOf(std::string_view token) const {
    return static_cast<std::size_t>(token.data() - text.data());
  }

private:
  void skipBlanks();
  void passQuoted(TokenDigest *digest);
  bool skipPlain(std::size_t &depth);
  bool digestPlain(std::size_t &depth, TokenDigest &digest);
  std::size_t endOfString(std::size_t quote);
  std::size_t endOfQuotedSymbol(std::size_t bar);

  std::string_view text;
  std::size_t at = 0;
  std::optional<fault_t> broken;
};

/// A command as it is written, its name, the first two atoms behind it (empty where something else
/// stands), and the digest of its tokens, where digests were asked for.
struct smt_command_t {
  std::string_view text;
  std::string_view name;
  std::array<std::string_view, 2> atoms;
  digest_t digest;
};

/// The commands of a script, one after the other, in the memory of one.
class SmtCommands {
public:
  explicit SmtCommands(std::string_view script, bool digesting = true);

  /// Whether there was another command; not at the script's end, nor at a fault.
  bool next(smt_command_t &command);

  const std::optional<fault_t> &fault() const { return tokens.fault(); }
  std::size_t offsetOf(const smt_command_t &command) const { return tokens.offsetOf(command.text); }
  void fail(const smt_command_t &command, const char *what) {
    tokens.fail(offsetOf(command), what);
  }

private:
  bool digesting;
  SmtTokens tokens;
  TokenDigest digest;
};

/// The first command of a text, which has one.
smt_command_t smtCommandOf(std::string_view text);

/// What stands between the parentheses of the first list behind a command's name, form by form:
/// the literals of a check-sat-assuming.
std::vector<std::string_view> smtListOf(const smt_command_t &command);

} // namespace kelvarune::goals

#endif
