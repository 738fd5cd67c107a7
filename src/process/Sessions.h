#ifndef KELVARUNE_PROCESS_SESSIONS_H
#define KELVARUNE_PROCESS_SESSIONS_H

#include <atomic>
#include <vector>

#include <sys/types.h>

/// The sessions of the tools, so that whatever a tool started can be ended with it.
///
/// Every tool leads a session of its own, and its descendants stay in it unless they leave on
/// purpose, also when they make process groups of their own as `timeout` does. The sessions are
/// kept in a fixed table in memory that the guardian process shares, and that a child between its
/// creation and its program can write: no lock, no allocation.
namespace process::sessions {

using slot_t = std::atomic<pid_t>;

/// Claims a free place of the table; null when all are taken (the tool then runs unrecorded).
slot_t *claim();

/// Gives a place back.
void release(slot_t *slot);

/// As release, for a tool that has ended; but when processes of its session live on, the place
/// keeps the session as long as the table has room.
void releaseEnded(slot_t *slot);

/// The sessions that stand in the table now.
std::vector<pid_t> all();

/// Ends every process of the given sessions: their leaders are killed, the others are asked first
/// (SIGTERM) and killed after a short grace. Returns when all are gone, at the latest after about
/// a second. Never waits for them as a parent does.
void end(std::vector<pid_t> sessionIds);

/// Kills the processes that still hold the write end of the pipe with this inode, except children
/// of the calling process (which are tools of their own).
void endPipeWriters(ino_t pipe);

} // namespace process::sessions

#endif
