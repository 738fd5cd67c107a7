#ifndef KELVARUNE_DIRECTOR_RUNNINGTOOL_H
#define KELVARUNE_DIRECTOR_RUNNINGTOOL_H

#include "process/ToolProcess.h"

#include <list>
#include <mutex>

/// A tool that stands in a list of running processes for as long as it may run, so that others can
/// kill it. The registration ends before the process object does, on every path.
class RunningTool {
public:
  /// `mutex` guards `registry`; both must outlive the tool.
  RunningTool(std::list<kelvarune::process::ToolProcess *> &registry, std::mutex &mutex)
      : processes(registry), processesMutex(mutex) {
    const std::lock_guard lock(processesMutex);
    place = processes.insert(processes.end(), &process);
  }
  ~RunningTool() { unregister(); }
  RunningTool(const RunningTool &) = delete;
  RunningTool &operator=(const RunningTool &) = delete;

  void unregister() {
    const std::lock_guard lock(processesMutex);
    if (place != processes.end())
      processes.erase(place);
    place = processes.end();
  }

  kelvarune::process::ToolProcess *operator->() { return &process; }
  kelvarune::process::ToolProcess &operator*() { return process; }

private:
  kelvarune::process::ToolProcess process;
  std::list<kelvarune::process::ToolProcess *> &processes;
  std::mutex &processesMutex;
  std::list<kelvarune::process::ToolProcess *>::iterator place;
};

#endif
