#ifndef KELVARUNE_CACHE_OPTIONS_H
#define KELVARUNE_CACHE_OPTIONS_H

#include "kelvarune-cache/Answer.h"

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace cache {

enum class policy_t {
  NONE,    ///< run the prover as if the cache were not there
  UPDATE,  ///< use what is stored, run the rest and store it
  REPLAY,  ///< use what is stored, run the rest, store nothing
  REBUILD, ///< run everything and store it anew
  OFFLINE, ///< use what is stored, run nothing
  CLEANUP  ///< without a prover: remove what is of no use; with one: as UPDATE
};

/// The command line, with the environment's settings where it is silent.
struct options_t {
  policy_t mode = policy_t::UPDATE;
  std::string directory;
  std::uint64_t maxBytes = 0; ///< 0 for no bound
  double unusedDays = 0;      ///< for CLEANUP: entries unused for longer go; 0 for none
  bool tellsStats = false;    ///< without a prover, as the next
  bool resetsCounts = false;
  std::string versionText;
  std::vector<std::string> goalFiles;
  bool readsStandardInput = true; ///< whether the prover gets the program's standard input
  patterns_t patterns;
  std::set<int> statuses;           ///< the exit statuses with which answers are stored
  std::vector<std::string> command; ///< the prover and its arguments, bytes as they came
};

/// Reads the command line. Prints help or version and ends the program when asked to. False, after
/// one line on standard error, when something is wrong.
bool parseOptions(int argc, char **argv, options_t &options);

} // namespace cache

#endif
