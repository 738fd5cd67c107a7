#ifndef KELVARUNE_PROCESS_GUARDIAN_H
#define KELVARUNE_PROCESS_GUARDIAN_H

#include "file/Descriptor.h"

#include <functional>

#include <sys/types.h>

namespace kelvarune::process {

/// A small process that outlives the program by a moment and ends its tools.
///
/// A program that is killed, crashes or is interrupted on its terminal cannot end the tools that it
/// runs. The kernel kills the tools themselves (see ToolProcess), but not what they started. The
/// guardian waits until the program is gone, however it went, and then ends every process of the
/// recorded sessions. It holds no descriptor of the program but a pipe and the one that it is
/// given, and no directory.
class Guardian {
public:
  /// What the guardian does first when the program is gone, with its own descriptor of `keeps`.
  struct duty_t {
    int keeps = -1;
    std::function<void(int descriptor)> act;
  };

  /// Starts the guardian; without one (the system refuses) the program runs on unguarded. Call
  /// before the program starts threads.
  Guardian() : Guardian(duty_t()) {}
  explicit Guardian(const duty_t &duty);

  /// Dismisses the guardian: the program ends in order, and what tools left on purpose may stay.
  ~Guardian();

  Guardian(const Guardian &) = delete;
  Guardian &operator=(const Guardian &) = delete;

private:
  file::Descriptor lifeline;
  pid_t pid = -1;
};

} // namespace kelvarune::process

#endif
