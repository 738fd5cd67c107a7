#ifndef KELVARUNE_BENCH_COMPONENT_H
#define KELVARUNE_BENCH_COMPONENT_H

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace bench {

/// A goal's address: the indexes of its obligation and of itself therein, both from 0.
using address_t = std::pair<unsigned long, unsigned long>;

/// The goals that go through the tools together.
using entry_t = std::vector<address_t>;

/// What the baselines share: a component made by generate.py, and how it is to be played.
struct component_t {
  std::string directory;
  std::string tools;                        ///< directory of bench-writer, -prover and -reader
  unsigned long jobs = 1;                   ///< entries that run at once
  std::vector<std::string> readerArguments; ///< see tools/reader.c
  std::vector<entry_t> entries;

  std::string posPath() const { return directory + "/comp.pos"; }
  std::string toolPath(const std::string &name) const { return tools + "/bench-" + name; }
  std::string secondaryFile(std::size_t entry) const;
  std::vector<std::string> writerArguments(std::size_t entry) const;
};

/// From the arguments COMPONENT-DIRECTORY TOOL-DIRECTORY JOBS READER-ARGUMENT... and the
/// component's entries.txt. Throws std::runtime_error when they are no good.
component_t componentOfArguments(int argc, char **argv);

/// Calls `work` with the index of every entry, in order on this thread for one job, else on as many
/// threads as there are jobs; then removes the secondary files. Returns the wall seconds.
double runEntries(const component_t &component, const std::function<void(std::size_t)> &work);

/// The lines of a text that ends in a line feed.
std::vector<std::string> linesOf(const std::string &text);

} // namespace bench

#endif
