#ifndef KELVARUNE_DIRECTOR_SECONDARYFILES_H
#define KELVARUNE_DIRECTOR_SECONDARYFILES_H

#include "director/ProofData.h"

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include <unistd.h>

/// The secondary proof obligation files of the current pass, as far as they are to be removed: by
/// the pass at its end, or by a stop. Any thread.
class SecondaryFiles {
public:
  void set(const std::vector<writer_data_t> &entries) {
    const std::lock_guard lock(mutex);
    paths.clear();
    for (const writer_data_t &entry : entries)
      paths.push_back(entry.po2filename.toStdString());
  }

  /// From now on none is removed.
  void keep() { kept = true; }

  /// Removes those that exist.
  void remove() const {
    const std::lock_guard lock(mutex);
    if (kept)
      return;
    for (const std::string &path : paths)
      ::unlink(path.c_str());
  }

private:
  std::atomic<bool> kept = false;
  mutable std::mutex mutex;
  std::vector<std::string> paths; // guarded by mutex
};

#endif
