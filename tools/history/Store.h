#ifndef KELVARUNE_HISTORY_STORE_H
#define KELVARUNE_HISTORY_STORE_H

#include "history/Database.h"
#include "history/Records.h"

#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace history {

/// Puts the records of one run into a history. One thread at a time; raises Failure.
class Store {
public:
  Store(const QString &path, const run_t &run);

  /// In one transaction: all, or nothing of it. With `status` the run has ended.
  void write(const batch_t &batch, std::optional<int> status);

private:
  std::int64_t beginRun(const run_t &run);
  void writeMechanism(const mechanism_t &mechanism);
  void writeProver(const prover_t &prover);
  void writeEntry(const entry_t &entry);
  std::int64_t idOfDriver(const QString &mechanism, const QString &driver);
  std::int64_t idOfGoal(const QString &tag, int number);

  Database database;
  std::int64_t run;
  std::int64_t positions = 0; // of drivers
  std::map<std::pair<QString, QString>, std::int64_t> drivers;
  std::map<std::pair<QString, int>, std::int64_t> goals;
  Statement findDriver, newDriver, findGoal, newGoal, newEntry, newVerdict;
};

/// Drops all but the last `keep` runs, and gives how many went. Raises Failure.
int prune(Database &database, int keep);

} // namespace history

#endif
