#ifndef KELVARUNE_PROCESS_SESSIONS_H
#define KELVARUNE_PROCESS_SESSIONS_H

#include <atomic>
#include <cstdint>
#include <limits>
#include <vector>

#include <sys/types.h>

/// The sessions of the tools, so that whatever a tool started can be ended with it.
///
/// Every tool leads a session of its own, and its descendants stay in it unless they leave on
/// purpose, also when they make process groups of their own as `timeout` does. The sessions are
/// kept in a fixed table in memory that the guardian process shares, and that a child between its
/// creation and its program can write: no lock, no allocation.
namespace kelvarune::process::sessions {

/// A session. Once its leader has ended its number may be given to a stranger, so only processes
/// that were there at that time belong to it; `endTicks` is that time in the system's clock ticks
/// since it was booted.
struct session_t {
  static constexpr std::int64_t RUNNING = std::numeric_limits<std::int64_t>::max();

  pid_t id;
  std::int64_t endTicks = RUNNING;
};

/// A place in the table: the session, 0 when it is free, and for whom it runs.
struct slot_t {
  std::atomic<pid_t> session;
  std::atomic<std::int64_t> endTicks;
  std::atomic<const void *> owner;
};

/// Claims a place of the table for a tool of `owner` (any address that stands for it); null when
/// tools that run have them all (the tool then runs unrecorded).
slot_t *claim(const void *owner);

/// Notes that the tool has ended. What it has left running is remembered until the place is needed
/// for another tool, the oldest first.
void release(slot_t *slot);

/// The sessions that stand in the table now: those of all owners, or of one.
std::vector<session_t> all();
std::vector<session_t> of(const void *owner);

/// Ends every process of the given sessions: their leaders are killed, the others are asked first
/// (SIGTERM) and killed after a short grace. Returns when all are gone, at the latest after about
/// a second. Never waits for them as a parent does.
void end(const std::vector<session_t> &sessions);

/// Kills the processes that still hold the write end of the pipe with this inode, except children
/// of the calling process (which are tools of their own).
void endPipeWriters(ino_t pipe);

} // namespace kelvarune::process::sessions

#endif
