#ifndef KELVARUNE_PLAY_VERSIONS_H
#define KELVARUNE_PLAY_VERSIONS_H

#include "VersionText.h"
#include "director/Observation.h"
#include "history/Records.h"

#include <QString>
#include <QStringList>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

/// Notes the versions of the provers that a run plays, on a thread of its own. A program is asked
/// when it is new or has changed since it was noted; a script, which may run what has changed, in
/// every run, once it has told a version.
class Versions {
public:
  using note_t = std::function<void(history::prover_t)>;

  /// What was noted before comes from the history at `path`; `note` is called on the thread.
  Versions(const QString &path, note_t note);
  /// Asks no further.
  ~Versions();
  Versions(const Versions &) = delete;
  Versions &operator=(const Versions &) = delete;

  /// An entry has ended. Any thread.
  void take(const kelvarune::entry_record_t &record);

  /// Waits for what is being asked, though no longer than a program may take. Then nothing more is
  /// noted. A line for each prover that has changed since it was noted before.
  QStringList finish();

  /// Ends at once what is being asked, for a program that ends. Lines as from `finish`. Any thread.
  QStringList stop();

private:
  void work();
  bool endThread(std::unique_lock<std::mutex> &lock, std::chrono::milliseconds patience);
  QStringList changes() const;

  const QString path;
  const note_t note;
  VersionText versionText;
  std::mutex mutex; // guards what follows
  std::condition_variable changed;
  std::set<std::pair<QString, QString>> drivers; // whose prover is known, with their mechanisms
  std::set<QString> programs;
  std::deque<QString> waiting;
  std::vector<history::prover_t> before;
  std::vector<history::prover_t> now;
  bool over = false;
  bool working = false; // the thread is there, and has not come to its end
  std::thread thread;
};

#endif
