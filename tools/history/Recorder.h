#ifndef KELVARUNE_HISTORY_RECORDER_H
#define KELVARUNE_HISTORY_RECORDER_H

#include "history/Records.h"

#include <QString>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace history {

class Store;

/// Writes the history of one run, on a thread of its own, in one transaction a second: what is
/// recorded costs the jobs next to nothing, and several runs may write at once. Any thread.
///
/// Whatever goes wrong with the history is kept for `end` to tell; nothing is raised, and the rest
/// of the run is not recorded.
class Recorder {
public:
  /// Begins the history of a run in the file at `path`, which is made where there is none.
  Recorder(const QString &path, run_t run);
  /// The run then has no end in the history.
  ~Recorder();
  Recorder(const Recorder &) = delete;
  Recorder &operator=(const Recorder &) = delete;

  void add(mechanism_t mechanism);
  void add(prover_t prover);
  void add(entry_t entry);

  /// Records that the run has ended with this exit status, and writes what is not written yet.
  /// Waits no longer than `patience`: what is not written then is lost when the program ends. Only
  /// the first call does anything. Empty, or a line on what went wrong, told once.
  QString end(int status, std::chrono::milliseconds patience);

private:
  void work();
  void joinThread();
  void write(std::unique_ptr<Store> &store, const batch_t &batch, bool isLast);

  const QString path;
  const run_t run;
  std::mutex mutex; // guards what follows
  std::condition_variable changed;
  batch_t waiting;
  bool over = false;
  bool written = false; // the thread has nothing more to do
  bool told = false;
  std::optional<int> status;
  QString fault;
  std::thread thread;
};

} // namespace history

#endif
