#ifndef KELVARUNE_PROCESS_TOOLPROCESS_H
#define KELVARUNE_PROCESS_TOOLPROCESS_H

#include "file/Descriptor.h"
#include "process/Sessions.h"

#include <QStringList>

#include <filesystem>
#include <mutex>

namespace kelvarune::process {

class PipeReader;

/// One run of an external tool, from its start to its end.
///
/// The tool gets its arguments as they are (UTF-8, no shell), the program's environment and working
/// directory, descriptors 0, 1 and 2 and no other, no blocked signal and the default SIGPIPE. What
/// it writes on standard error goes nowhere. It leads a session of its own and is killed by the
/// kernel when the thread that started it ends, so it never outlives the program.
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

  /// Starts `program`, looked up in PATH when it has no directory. `standardInput` and
  /// `standardOutput` are only borrowed; -1 stands for the null device. False when the program
  /// cannot be run (it does not exist, it is no program, the arguments are too long, ...). A script
  /// without "#!" is run by the system's shell, as everywhere.
  bool start(const std::filesystem::path &program, const QStringList &arguments, int standardInput,
             int standardOutput);

  /// Waits until the tool has ended, and meanwhile keeps `output` (may be null) read, so that
  /// nobody who writes into it is blocked. With a limit in milliseconds (negative: none) returns
  /// false when that time passes without the end. True at once when no tool runs.
  bool waitForEnd(PipeReader *output = nullptr, int limitMs = -1);

  /// Kills the tool, if it runs, without waiting.
  void kill();

  /// Whether the tool was ended by a signal.
  bool crashed() const { return endedBySignal; }

  /// The session that the tool leads, 0 when it does not run. Any thread.
  pid_t session() const;

private:
  void reap(bool block);

  const void *const owner;
  mutable std::mutex endMutex; // between kill and reap: a reaped number may name another process
  pid_t pid = 0;               // changed by the owner under endMutex
  file::Descriptor pidfd;
  sessions::slot_t *slot = nullptr;
  bool endedBySignal = false;
};

} // namespace kelvarune::process

#endif
