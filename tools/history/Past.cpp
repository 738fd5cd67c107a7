#include "history/Past.h"

#include "history/Database.h"
#include "text/Literals.h"

#include <map>

using namespace history;
using namespace kelvarune;

namespace {

using indexes_t = std::map<std::int64_t, std::size_t>; // by number in the file

indexes_t readRuns(Database &database, past_t &past) {
  indexes_t indexes;
  Statement rows =
      database.prepare("SELECT id, started, ended, status, host, program, jobs, command "
                       "FROM runs ORDER BY id");
  while (rows.step()) {
    known_run_t run;
    run.id = rows.integer(0);
    run.started = rows.real(1);
    run.ended = rows.optionalReal(2);
    if (run.ended)
      run.status = static_cast<int>(rows.integer(3));
    run.host = rows.text(4);
    run.program = rows.text(5);
    run.jobs = static_cast<int>(rows.integer(6));
    run.command = rows.text(7);
    indexes[run.id] = past.runs.size();
    past.runs.push_back(run);
  }
  return indexes;
}

indexes_t readDrivers(Database &database, past_t &past) {
  indexes_t indexes;
  Statement rows = database.prepare(
      "SELECT id, mechanism, driver, (SELECT trust FROM mechanisms WHERE name = mechanism "
      "ORDER BY run DESC LIMIT 1) FROM drivers ORDER BY id");
  while (rows.step()) {
    indexes[rows.integer(0)] = past.drivers.size();
    past.drivers.push_back({rows.text(1), rows.text(2), rows.text(3)});
  }
  return indexes;
}

indexes_t readGoals(Database &database, past_t &past) {
  indexes_t indexes;
  Statement rows = database.prepare("SELECT id, tag, number FROM goals ORDER BY id");
  while (rows.step()) {
    indexes[rows.integer(0)] = past.goals.size();
    past.goals.push_back({rows.text(1), static_cast<int>(rows.integer(2))});
  }
  return indexes;
}

prover_t proverIn(const Statement &row) {
  return {row.text(0), row.text(1), row.text(2), row.text(3), row.text(4)};
}

void readProvers(Database &database, const indexes_t &runs, past_t &past) {
  if (!database.knowsProvers())
    return;
  Statement rows = database.prepare(
      "SELECT name, path, version, digest, stamp, run FROM provers ORDER BY rowid");
  while (rows.step()) {
    const auto run = runs.find(rows.integer(5));
    if (run != runs.end())
      past.runs[run->second].provers.push_back(proverIn(rows));
  }
}

outcome_t outcomeOf(const QString &verdict) {
  if (verdict == "Proved"_s)
    return outcome_t::PROVED;
  if (verdict == "Disproved"_s)
    return outcome_t::DISPROVED;
  return verdict.isNull() ? outcome_t::NOT_COUNTED : outcome_t::UNKNOWN;
}

} // namespace

past_t history::readPast(const QString &path) {
  past_t past;
  Database database(path.toStdString(), use_t::READING);
  database.run("BEGIN"); // what runs write meanwhile is not seen
  const indexes_t runs = readRuns(database, past);
  readProvers(database, runs, past);
  const indexes_t drivers = readDrivers(database, past);
  const indexes_t goals = readGoals(database, past);
  Statement order = database.prepare("SELECT run, driver FROM run_drivers ORDER BY run, position");
  while (order.step()) {
    const auto run = runs.find(order.integer(0));
    if (run != runs.end())
      past.runs[run->second].drivers.push_back(drivers.at(order.integer(1)));
  }
  Statement rows = database.prepare(
      "SELECT run, driver, goal, verdict, wall, cpu, goals, prover_wall, time_limit, entry "
      "FROM entries JOIN verdicts ON entry = id ORDER BY entry, position");
  while (rows.step()) {
    const auto run = runs.find(rows.integer(0));
    if (run == runs.end()) // of a run that somebody has dropped while it was at work
      continue;
    const int count = static_cast<int>(rows.integer(6));
    past.plays.push_back({rows.integer(9), run->second, drivers.at(rows.integer(1)),
                          goals.at(rows.integer(2)), outcomeOf(rows.text(3)), rows.real(4) / count,
                          rows.real(5) / count, count, rows.real(7), rows.optionalReal(8)});
  }
  return past;
}

std::vector<prover_t> history::readLastProvers(const QString &path) {
  std::vector<prover_t> provers;
  Database database(path.toStdString(), use_t::READING);
  if (!database.knowsProvers())
    return provers;
  Statement rows = database.prepare("SELECT name, path, version, digest, stamp FROM provers WHERE "
                                    "rowid IN (SELECT max(rowid) FROM provers GROUP BY path) "
                                    "ORDER BY rowid DESC");
  while (rows.step())
    provers.push_back(proverIn(rows));
  return provers;
}
