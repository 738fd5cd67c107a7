#ifndef KELVARUNE_PROCESS_OFFSPRING_H
#define KELVARUNE_PROCESS_OFFSPRING_H

#include <chrono>
#include <functional>

namespace kelvarune::process {

class ToolProcess;

/// Everything that this process has started: its children, what they have started, and so on, also
/// in sessions and process groups of their own and when those between have gone. For programs with
/// one thread that have adopted their offspring and have no other children to wait for.
namespace offspring {

/// From now on a descendant that loses its parent becomes a child of this process.
void adopt();

/// Waits, without blocking, for the children that have ended; for `tool` (null: none) through it.
/// False when no descendant is left at all.
bool reap(ToolProcess *tool);

/// How the offspring is ended.
struct way_t {
  int signal;                      ///< asks it to end
  std::chrono::milliseconds grace; ///< how long it may take to follow
  std::function<void()> kill;      ///< what kills all of it at once beside SIGKILL; or null
};

/// Ends the offspring: asked first, killed after the grace. False when some of it still lives
/// after `patience` more, as what waits for a dead disk does.
bool end(ToolProcess *tool, const way_t &way, std::chrono::milliseconds patience);

} // namespace offspring

} // namespace kelvarune::process

#endif
