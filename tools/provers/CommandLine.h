#ifndef KELVARUNE_PROVERS_COMMANDLINE_H
#define KELVARUNE_PROVERS_COMMANDLINE_H

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kelvarune::provers {

constexpr int STATUS_FAILED = 1;
constexpr int STATUS_USAGE = 2;

/// Why a tool cannot do its work: a line for people, and the exit status.
class Refusal : public std::runtime_error {
public:
  explicit Refusal(const std::string &text, int status = STATUS_FAILED)
      : std::runtime_error(text), status(status) {}

  int status;
};

/// Runs a tool: prints its help when asked for it, and what it cannot do.
int runTool(const char *name, const char *help, int argc, char **argv,
            const std::function<void(class Words &)> &run);

/// The words of a command line, from the first argument on.
class Words {
public:
  Words(int argc, char **argv) : words(argv + 1, argv + argc) {}

  /// The name of the next argument, without what stands behind "=" in a long one.
  bool next();
  const std::string &name() const { return current; }

  /// The value of the argument: behind its "=", or the next word.
  std::string value();

  [[noreturn]] void refuseName() const;

private:
  std::vector<std::string> words;
  std::size_t at = 0;
  std::string current;
  std::string attached;
  bool hasAttached = false;
};

std::vector<std::string> splitAtCommas(const std::string &text);

/// What `choices` say of a word; refuses all others.
template <typename Value>
Value chosen(const std::string &option, const std::string &word,
             std::initializer_list<std::pair<std::string_view, Value>> choices) {
  std::string names;
  for (const auto &[name, value] : choices) {
    if (name == word)
      return value;
    names += (names.empty() ? "" : " or ") + std::string(name);
  }
  throw Refusal(option + " is " + names + ", not " + word, STATUS_USAGE);
}

} // namespace kelvarune::provers

#endif
