#ifndef KELVARUNE_DIRECTOR_RUNNINGTOOLS_H
#define KELVARUNE_DIRECTOR_RUNNINGTOOLS_H

#include "process/Sessions.h"
#include "process/ToolProcess.h"

#include <QStringList>

#include <atomic>
#include <filesystem>
#include <list>
#include <mutex>
#include <shared_mutex>
#include <vector>

/// The provers and readers that a director runs, so that a stop can end them, and the gate through
/// which all its tools start, so that none starts after a stop. Any thread.
class RunningTools {
public:
  /// From now on no tool starts. Returns when none is about to start any more, at the latest after
  /// a second (a program on a dead network file system can take for ever).
  void close();
  bool areClosed() const { return closed; }

  /// Kills the provers and readers without waiting. Returns the sessions that they lead, in which
  /// what they have started lives on.
  std::vector<kelvarune::process::sessions::session_t> kill();

  /// Ends all tools, writers too, and what they and ended ones have left running.
  void endAll() const;

private:
  friend class RunningTool;

  std::atomic<bool> closed = false;
  std::shared_mutex gate; // shared by those who start a tool, at the moment they do
  std::mutex mutex;       // guards processes; never taken with another lock held but the gate
  std::list<kelvarune::process::ToolProcess *> processes;
};

/// One tool of a director, from its start to its end. Belongs to one thread.
class RunningTool {
public:
  enum class kind_t {
    KILLED_BY_STOP, ///< a prover or reader; registered for as long as it may run
    LEFT_BY_STOP    ///< a writer: what it writes may still be of use
  };

  /// `tools` must outlive the tool.
  RunningTool(RunningTools &tools, kind_t kind) : tools(tools), process(&tools) {
    const std::lock_guard lock(tools.mutex);
    if (kind == kind_t::KILLED_BY_STOP)
      place = tools.processes.insert(tools.processes.end(), &process);
    else
      place = tools.processes.end();
  }
  ~RunningTool() { unregister(); }
  RunningTool(const RunningTool &) = delete;
  RunningTool &operator=(const RunningTool &) = delete;

  /// As ToolProcess::start; false also after a stop.
  bool start(const std::filesystem::path &program, const QStringList &arguments, int standardInput,
             int standardOutput, int standardError = -1) {
    const std::shared_lock gate(tools.gate);
    return !tools.closed &&
           process.start(program, arguments, standardInput, standardOutput, standardError);
  }

  /// Takes the tool out of the reach of a stop: it has ended.
  void unregister() {
    const std::lock_guard lock(tools.mutex);
    if (place != tools.processes.end())
      tools.processes.erase(place);
    place = tools.processes.end();
  }

  kelvarune::process::ToolProcess *operator->() { return &process; }
  kelvarune::process::ToolProcess &operator*() { return process; }

private:
  RunningTools &tools;
  kelvarune::process::ToolProcess process;
  std::list<kelvarune::process::ToolProcess *>::iterator place;
};

#endif
