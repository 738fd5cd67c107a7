#ifndef KELVARUNE_PROVERS_GOALS_H
#define KELVARUNE_PROVERS_GOALS_H

#include "CommandLine.h"
#include "goals/PogFile.h"

#include <functional>
#include <string>
#include <vector>

namespace kelvarune::provers {

/// What every writer is told: `-a I J` for each goal, `-i POG`, `-o FILE` and perhaps `-m`.
struct order_t {
  struct address_t {
    std::size_t obligation;
    std::size_t goal;
  };
  std::vector<address_t> goals;
  std::string pog;
  std::string output;
  bool model = false;

  /// Whether the present word was one of these arguments, which is then taken.
  bool takes(Words &words);
  /// Refuses an order in which something is missing.
  void check() const;
};

/// A goal that was asked for.
struct asked_t {
  order_t::address_t address;
  goals::goal_ref_t goal;

  std::string number() const; ///< as -a has it: "0 2"
  std::string name() const;   ///< as people do: "TAG.3", on one line
};

/// The goals of an order, in its order; refuses goals that the POG has not.
std::vector<asked_t> askedGoals(const order_t &order);

/// The source that the POG holds of a goal, or the file's; `directory` is where it stands. All
/// goals of the same source are given at once, so that it is read once.
struct source_t {
  std::string text;
  std::string directory;
  std::vector<const asked_t *> goals; ///< by ascending check
  std::vector<std::size_t> indexes;   ///< their checks within the text
};
void visitSources(const order_t &order, const std::vector<asked_t> &asked,
                  goals::language_t language, const std::function<void(const source_t &)> &visit);

/// Refuses a goal that has another digest now, or is not there any more.
[[noreturn]] void refuseChanged(const asked_t &asked);
void checkDigest(const asked_t &asked, const std::string &digest);

} // namespace kelvarune::provers

#endif
