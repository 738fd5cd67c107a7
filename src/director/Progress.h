#ifndef KELVARUNE_DIRECTOR_PROGRESS_H
#define KELVARUNE_DIRECTOR_PROGRESS_H

#include "director/ProofData.h"

#include <mutex>

/// Counts how far a driver pass has come, for display. Any thread.
class Progress {
public:
  void startPass(const QString &driver, std::size_t entries) {
    const std::lock_guard lock(mutex);
    name = driver.toStdString();
    counts = {};
    counts.total = entries;
  }

  void count(unsigned long kelvarune::progress_t::*counter) {
    const std::lock_guard lock(mutex);
    ++(counts.*counter);
  }

  /// Takes one count back: what was counted will be done again.
  void takeBack(unsigned long kelvarune::progress_t::*counter) {
    const std::lock_guard lock(mutex);
    --(counts.*counter);
  }

  /// Nothing in the snapshot is shared with this object.
  kelvarune::progress_t now() const {
    const std::lock_guard lock(mutex);
    kelvarune::progress_t snapshot = counts;
    snapshot.driver = QString::fromStdString(name);
    return snapshot;
  }

private:
  mutable std::mutex mutex;
  std::string name;             // guarded by mutex
  kelvarune::progress_t counts; // guarded by mutex; without the driver
};

#endif
