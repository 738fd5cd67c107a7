#ifndef KELVARUNE_PROCESS_TOOLPROCESS_H
#define KELVARUNE_PROCESS_TOOLPROCESS_H

#include "file/Descriptor.h"
#include "process/Sessions.h"

#include <QStringList>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

namespace kelvarune::process {

class WatchedPipe;

/// Where a tool lives.
enum class place_t {
  /// It leads a session of its own, with descriptors 0, 1 and 2 and no other, no blocked signal and
  /// the default SIGPIPE.
  OWN_SESSION,
  /// It stays in the caller's session and process group, with the descriptors that are inherited
  /// and the signals that are blocked or ignored there.
  CALLERS_SESSION
};

/// How a tool is started. The descriptors are only borrowed; -1 stands for the null device.
struct start_t {
  std::string program;            ///< looked up in PATH when it has no directory
  std::vector<std::string> words; ///< its arguments, the name by which it is called first
  int standardInput = -1;
  int standardOutput = -1;
  int standardError = -1;
  place_t place = place_t::OWN_SESSION;
  std::uint64_t dataLimit = 0; ///< bytes of writable memory that each of its processes may reserve
                               ///< for itself; 0: as this program
  int group = -1; ///< the "cgroup.procs" of a control group that it joins before it is run
};

/// What a tool that has ended took, with what it has started and waited for.
struct usage_t {
  std::chrono::microseconds user = {};   ///< processor time
  std::chrono::microseconds system = {}; ///< processor time
  /// The most resident memory of one process in bytes. The system counts from the moment before the
  /// program is run, so it is never less than what this program had resident then.
  std::uint64_t peakMemory = 0;
};

/// One run of an external tool, from its start to its end.
///
/// The tool gets its arguments as they are (no shell) and the program's environment and working
/// directory. It is killed by the kernel when the thread that started it ends, so it never outlives
/// the program.
///
/// Starting costs the same whatever the size of the program's heap: no page table is copied.
///
/// Belongs to the thread that starts it; only `kill` and `session` may be called from others, as
/// long as the object lives. Destroying it while the tool runs kills the tool and waits for its
/// end.
class ToolProcess {
public:
  /// `owner` stands for whom the tool runs in the table of sessions.
  explicit ToolProcess(const void *owner = nullptr) : owner(owner) {}
  ~ToolProcess();
  ToolProcess(const ToolProcess &) = delete;
  ToolProcess &operator=(const ToolProcess &) = delete;

  /// Starts the tool. False when the program cannot be run (it does not exist, it is no program,
  /// the arguments are too long, ...). A script without "#!" is run by the system's shell, as
  /// everywhere.
  bool start(start_t how);

  /// Starts `program` with `arguments` (in UTF-8) in a session of its own.
  bool start(const std::filesystem::path &program, const QStringList &arguments, int standardInput,
             int standardOutput, int standardError = -1);

  /// Why the program could not be run by the last start, or not in its group, an errno value; 0
  /// when it was run, and when there was not even a process to run it in.
  int runError() const { return errorOfRun; }

  /// Whether the last start failed because the system had no room for another process or no
  /// descriptors for it, so that it may go well once others have ended.
  bool lacksRoom() const { return hadNoRoom; }

  /// Waits until the tool has ended, and meanwhile keeps `pipes` (each may be null) going, so that
  /// nobody who writes into them is blocked. With a limit in milliseconds (negative: none) returns
  /// false when that time passes without the end. True at once when no tool runs.
  bool waitForEnd(const std::vector<WatchedPipe *> &pipes = {}, int limitMs = -1);

  /// Kills the tool, if it runs, without waiting.
  void kill();

  /// Whether the tool was ended by a signal, and by which; 0 when it ended by itself.
  bool crashed() const { return endedBy != 0; }
  int endSignal() const { return endedBy; }

  /// The exit status of a tool that ended by itself.
  int exitStatus() const { return status; }

  /// What the tool took; zeros before its end, and where somebody else has reaped it.
  usage_t usage() const { return used; }

  /// The process while it has not been waited for, else 0. The owner only.
  pid_t id() const { return pid; }

  /// The session that the tool leads, 0 when it leads none or does not run. Any thread.
  pid_t session() const;

private:
  void reap(bool block);

  const void *const owner;
  mutable std::mutex endMutex; // between kill and reap: a reaped number may name another process
  pid_t pid = 0;               // changed by the owner under endMutex
  file::Descriptor pidfd;
  sessions::slot_t *slot = nullptr;
  bool leadsSession = false; // as pid
  int errorOfRun = 0;
  bool hadNoRoom = false;
  usage_t used;
  int endedBy = 0;
  int status = 0;
};

} // namespace kelvarune::process

#endif
