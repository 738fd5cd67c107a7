#ifndef KELVARUNE_CACHE_PROVER_H
#define KELVARUNE_CACHE_PROVER_H

#include "kelvarune-cache/Answer.h"

#include <string>
#include <vector>

namespace cache {

/// How a prover ended.
struct end_t {
  bool started = false;
  int signal = 0;        ///< the signal that killed it, 0 when it ended by itself
  int status = 0;        ///< its exit status, when it ended by itself
  bool complete = false; ///< whether everything that was going to be written has come
};

/// Runs `program` with `words` (the program word first) and passes its standard output on as it
/// comes, also into `answer`. Standard error is inherited. The prover is killed by the kernel when
/// the calling process ends. `standardInput` -1 stands for the null device.
end_t runProver(const std::string &program, const std::vector<std::string> &words,
                int standardInput, Answer &answer);

/// Becomes the prover; returns the exit status for the failure when that is not possible.
int becomeProver(const std::string &program, const std::vector<std::string> &words,
                 int standardInput);

} // namespace cache

#endif
