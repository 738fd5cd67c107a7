// Goals and drivers are rows of their own, whose numbers the entries hold: most of a history is
// entries, and names are long.

#include "history/Store.h"

#include <algorithm>
#include <chrono>

using namespace history;

namespace {

double now() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

void bindTool(Statement &statement, const tool_t &tool) {
  statement.bind(tool.wall)
      .bind(tool.cpu)
      .bind(tool.peak)
      .bind(std::int64_t{tool.peakIsBound})
      .bind(tool.end)
      .bind(std::int64_t{tool.number});
}

} // namespace

Store::Store(const QString &path, const run_t &begun)
    : database(path.toStdString(), use_t::WRITING), run(beginRun(begun)),
      findDriver(database.prepare("SELECT id FROM drivers WHERE mechanism = ? AND driver = ?")),
      newDriver(database.prepare("INSERT INTO drivers (mechanism, driver) VALUES (?, ?)")),
      findGoal(database.prepare("SELECT id FROM goals WHERE tag = ? AND number = ?")),
      newGoal(database.prepare("INSERT INTO goals (tag, number) VALUES (?, ?)")),
      newEntry(database.prepare("INSERT INTO entries VALUES (NULL, ?, ?, ?, ?, ?, ?, ?, ?, "
                                "?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)")),
      newVerdict(database.prepare("INSERT INTO verdicts VALUES (?, ?, ?, ?)")) {}

std::int64_t Store::beginRun(const run_t &begun) {
  Statement insert = database.prepare(
      "INSERT INTO runs (started, host, program, jobs, command) VALUES (?, ?, ?, ?, ?)");
  insert.bind(begun.started)
      .bind(begun.host)
      .bind(begun.program)
      .bind(std::int64_t{begun.jobs})
      .bind(begun.command)
      .run();
  return database.lastId();
}

void Store::write(const batch_t &batch, std::optional<int> status) {
  const std::int64_t before = positions;
  try {
    Transaction transaction(database);
    for (const mechanism_t &mechanism : batch.mechanisms)
      writeMechanism(mechanism);
    for (const prover_t &prover : batch.provers)
      writeProver(prover);
    for (const entry_t &entry : batch.entries)
      writeEntry(entry);
    if (status)
      database.prepare("UPDATE runs SET ended = ?, status = ? WHERE id = ?")
          .bind(now())
          .bind(std::int64_t{*status})
          .bind(run)
          .run();
    transaction.commit();
  } catch (const Failure &) { // what it has numbered is not there
    drivers.clear();
    goals.clear();
    positions = before;
    throw;
  }
}

void Store::writeMechanism(const mechanism_t &mechanism) {
  database.prepare("INSERT INTO mechanisms VALUES (?, ?, ?, ?, ?)")
      .bind(run)
      .bind(mechanism.name)
      .bind(mechanism.path)
      .bind(mechanism.digest)
      .bind(mechanism.trust)
      .run();
  Statement insert = database.prepare("INSERT INTO run_drivers VALUES (?, ?, ?)");
  for (const QString &driver : mechanism.drivers)
    insert.bind(run).bind(positions++).bind(idOfDriver(mechanism.name, driver)).run();
}

void Store::writeProver(const prover_t &prover) {
  database.prepare("INSERT INTO provers VALUES (?, ?, ?, ?, ?, ?)")
      .bind(run)
      .bind(prover.name)
      .bind(prover.path)
      .bind(prover.version)
      .bind(prover.digest)
      .bind(prover.stamp)
      .run();
}

void Store::writeEntry(const entry_t &entry) {
  newEntry.bind(run)
      .bind(idOfDriver(entry.mechanism, entry.driver))
      .bind(entry.started)
      .bind(static_cast<std::int64_t>(entry.verdicts.size()))
      .bind(entry.wall)
      .bind(entry.cpu)
      .bind(entry.timeLimit)
      .bind(entry.loss);
  for (const tool_t *tool : {&entry.writer, &entry.prover, &entry.reader})
    bindTool(newEntry, *tool);
  newEntry.bind(entry.output).bind(entry.errors).run();
  const std::int64_t id = database.lastId();
  std::int64_t position = 0;
  for (const verdict_t &verdict : entry.verdicts) {
    const std::int64_t goal = idOfGoal(verdict.tag, verdict.number);
    newVerdict.bind(id).bind(position++).bind(goal).bind(verdict.verdict).run();
  }
}

std::int64_t Store::idOfDriver(const QString &mechanism, const QString &driver) {
  std::int64_t &id = drivers[{mechanism, driver}];
  if (id != 0)
    return id;
  for (findDriver.bind(mechanism).bind(driver); findDriver.step();)
    id = findDriver.integer(0);
  if (id == 0) {
    newDriver.bind(mechanism).bind(driver).run();
    id = database.lastId();
  }
  return id;
}

std::int64_t Store::idOfGoal(const QString &tag, int number) {
  std::int64_t &id = goals[{tag, number}];
  if (id != 0)
    return id;
  for (findGoal.bind(tag).bind(std::int64_t{number}); findGoal.step();)
    id = findGoal.integer(0);
  if (id == 0) {
    newGoal.bind(tag).bind(std::int64_t{number}).run();
    id = database.lastId();
  }
  return id;
}

int history::prune(Database &database, int keep) {
  Transaction transaction(database);
  Statement count = database.prepare("SELECT count(*) FROM runs");
  count.step();
  const auto before = count.integer(0);
  count.run();
  database
      .prepare("DELETE FROM runs WHERE id NOT IN (SELECT id FROM runs ORDER BY started DESC, "
               "id DESC LIMIT ?)")
      .bind(std::int64_t{keep})
      .run();
  // The goals and drivers stay: a run at work may know them by their numbers.
  for (const char *sql : {"DELETE FROM verdicts WHERE entry IN "
                          "(SELECT id FROM entries WHERE run NOT IN (SELECT id FROM runs))",
                          "DELETE FROM entries WHERE run NOT IN (SELECT id FROM runs)",
                          "DELETE FROM mechanisms WHERE run NOT IN (SELECT id FROM runs)",
                          "DELETE FROM run_drivers WHERE run NOT IN (SELECT id FROM runs)"})
    database.run(sql);
  if (database.knowsProvers())
    database.run("DELETE FROM provers WHERE run NOT IN (SELECT id FROM runs)");
  transaction.commit();
  return static_cast<int>(std::max<std::int64_t>(0, before - keep));
}
