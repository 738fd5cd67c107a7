// The tables are made in one place. A new version only adds some: whoever writes to an older
// history makes them, whoever reads one does without, and whoever meets a newer one keeps away from
// it.

#include "history/Database.h"

#include <cerrno>
#include <cstring>

#include <sqlite3.h>
#include <unistd.h>

using namespace history;

namespace {

constexpr int BUSY_TIMEOUT_MS = 10000;
constexpr std::int64_t APPLICATION = 0x6b656c76; // "kelv", for file(1) and for us
constexpr std::int64_t VERSION = 2;

// Times are seconds; those at which something began count from 1970. Peaks are bytes. A verdict
// that is NULL did not count. Texts of output are there only where some goal was not proved.
const char *const TABLES[] = {
    R"(CREATE TABLE runs (
  id INTEGER PRIMARY KEY, started REAL NOT NULL, ended REAL, status INTEGER, host TEXT NOT NULL,
  program TEXT NOT NULL, jobs INTEGER NOT NULL, command TEXT NOT NULL))",
    R"(CREATE TABLE mechanisms (
  run INTEGER NOT NULL REFERENCES runs, name TEXT NOT NULL, path TEXT NOT NULL,
  digest TEXT NOT NULL, trust TEXT NOT NULL))",
    R"(CREATE TABLE drivers (
  id INTEGER PRIMARY KEY, mechanism TEXT NOT NULL, driver TEXT NOT NULL,
  UNIQUE (mechanism, driver)))",
    R"(CREATE TABLE run_drivers (
  run INTEGER NOT NULL REFERENCES runs, position INTEGER NOT NULL,
  driver INTEGER NOT NULL REFERENCES drivers))",
    R"(CREATE TABLE goals (
  id INTEGER PRIMARY KEY, tag TEXT NOT NULL, number INTEGER NOT NULL, UNIQUE (tag, number)))",
    R"(CREATE TABLE entries (
  id INTEGER PRIMARY KEY, run INTEGER NOT NULL REFERENCES runs,
  driver INTEGER NOT NULL REFERENCES drivers, started REAL NOT NULL, goals INTEGER NOT NULL,
  wall REAL NOT NULL, cpu REAL NOT NULL, time_limit REAL, loss TEXT,
  writer_wall REAL, writer_cpu REAL, writer_peak INTEGER, writer_peak_is_bound INTEGER,
  writer_end TEXT, writer_number INTEGER,
  prover_wall REAL, prover_cpu REAL, prover_peak INTEGER, prover_peak_is_bound INTEGER,
  prover_end TEXT, prover_number INTEGER,
  reader_wall REAL, reader_cpu REAL, reader_peak INTEGER, reader_peak_is_bound INTEGER,
  reader_end TEXT, reader_number INTEGER,
  output TEXT, errors TEXT))",
    "CREATE INDEX entries_of_run ON entries (run)",
    R"(CREATE TABLE verdicts (
  entry INTEGER NOT NULL REFERENCES entries, position INTEGER NOT NULL,
  goal INTEGER NOT NULL REFERENCES goals, verdict TEXT,
  PRIMARY KEY (entry, position)) WITHOUT ROWID)",
};

// Since version 2. There is either the version that the prover tells or its file's digest.
const char *const PROVERS = R"(CREATE TABLE provers (
  run INTEGER NOT NULL REFERENCES runs, name TEXT NOT NULL, path TEXT NOT NULL,
  version TEXT, digest TEXT, stamp TEXT NOT NULL))";

[[noreturn]] void fail(sqlite3 *database, int result) {
  using kind_t = Failure::kind_t;
  const int plain = result & 0xff;
  if (plain == SQLITE_NOTADB)
    throw Failure(kind_t::FOREIGN, "is no history");
  const bool isBusy = plain == SQLITE_BUSY || plain == SQLITE_LOCKED;
  throw Failure(isBusy ? kind_t::BUSY : kind_t::OTHER,
                database ? sqlite3_errmsg(database) : sqlite3_errstr(result));
}

} // namespace

// ---- Statement

Statement::Statement(sqlite3 *database, const char *sql)
    : database(database), statement(nullptr, &sqlite3_finalize) {
  sqlite3_stmt *made = nullptr;
  check(sqlite3_prepare_v2(database, sql, -1, &made, nullptr));
  statement.reset(made);
}

void Statement::check(int result) const {
  if (result != SQLITE_OK)
    fail(database, result);
}

Statement &Statement::bind(const QString &value) {
  if (value.isNull())
    return bindNull();
  const QByteArray bytes = value.toUtf8();
  check(sqlite3_bind_text(statement.get(), ++bound, bytes.constData(), bytes.size(),
                          SQLITE_TRANSIENT));
  return *this;
}

Statement &Statement::bind(std::int64_t value) {
  check(sqlite3_bind_int64(statement.get(), ++bound, value));
  return *this;
}

Statement &Statement::bind(double value) {
  check(sqlite3_bind_double(statement.get(), ++bound, value));
  return *this;
}

Statement &Statement::bind(std::optional<double> value) {
  return value ? bind(*value) : bindNull();
}

Statement &Statement::bindNull() {
  check(sqlite3_bind_null(statement.get(), ++bound));
  return *this;
}

bool Statement::step() {
  const int result = sqlite3_step(statement.get());
  if (result == SQLITE_ROW)
    return true;
  reset();
  if (result != SQLITE_DONE)
    fail(database, result);
  return false;
}

void Statement::run() {
  while (step()) {
  }
}

void Statement::reset() {
  sqlite3_reset(statement.get()); // what it returns has been told
  bound = 0;
}

QString Statement::text(int column) const {
  const auto *bytes = reinterpret_cast<const char *>(sqlite3_column_text(statement.get(), column));
  return bytes ? QString::fromUtf8(bytes, sqlite3_column_bytes(statement.get(), column))
               : QString();
}

std::int64_t Statement::integer(int column) const {
  return sqlite3_column_int64(statement.get(), column);
}

double Statement::real(int column) const {
  return sqlite3_column_double(statement.get(), column);
}

std::optional<double> Statement::optionalReal(int column) const {
  if (sqlite3_column_type(statement.get(), column) == SQLITE_NULL)
    return std::nullopt;
  return real(column);
}

// ---- Database

Database::Database(const std::string &path, use_t use) : database(nullptr, &sqlite3_close_v2) {
  if (use == use_t::READING && ::access(path.c_str(), R_OK) != 0)
    throw Failure(errno == ENOENT ? Failure::kind_t::MISSING : Failure::kind_t::OTHER,
                  std::strerror(errno));
  // Also for readers, who take back what a killed run has left half done, if they may.
  open(path, SQLITE_OPEN_READWRITE | (use == use_t::WRITING ? SQLITE_OPEN_CREATE : 0));
  if (use == use_t::WRITING && isNew())
    makeTables();
  checkVersion();
  if (use == use_t::WRITING && pragma("user_version") < VERSION)
    makeTables();
}

bool Database::knowsProvers() {
  return pragma("user_version") >= 2;
}

void Database::open(const std::string &path, int flags) {
  sqlite3 *made = nullptr;
  const int result = sqlite3_open_v2(path.c_str(), &made, flags, nullptr);
  database.reset(made);
  if (result != SQLITE_OK)
    fail(made, result);
  sqlite3_extended_result_codes(made, 1);
  sqlite3_busy_timeout(made, BUSY_TIMEOUT_MS);
}

std::int64_t Database::pragma(const char *name) {
  const std::string sql = std::string("PRAGMA ") + name;
  Statement statement = prepare(sql.c_str());
  return statement.step() ? statement.integer(0) : 0;
}

bool Database::isNew() {
  Statement objects = prepare("SELECT count(*) FROM sqlite_master");
  return objects.step() && objects.integer(0) == 0 && pragma("application_id") == 0 &&
         pragma("user_version") == 0;
}

void Database::checkVersion() {
  if (pragma("application_id") != APPLICATION)
    throw Failure(Failure::kind_t::FOREIGN, "is no history");
  if (pragma("user_version") > VERSION)
    throw Failure(Failure::kind_t::NEWER,
                  "was made by a newer version, which this one leaves alone");
}

void Database::makeTables() {
  Transaction transaction(*this);
  const bool isEmpty = isNew();
  if (!isEmpty && (pragma("application_id") != APPLICATION || pragma("user_version") >= VERSION))
    return; // another program was faster
  if (isEmpty) {
    for (const char *table : TABLES)
      run(table);
  }
  run(PROVERS);
  run(("PRAGMA application_id = " + std::to_string(APPLICATION)).c_str());
  run(("PRAGMA user_version = " + std::to_string(VERSION)).c_str());
  transaction.commit();
}

std::int64_t Database::lastId() const {
  return sqlite3_last_insert_rowid(database.get());
}

// ---- Transaction

Transaction::~Transaction() {
  if (over)
    return;
  try {
    database.run("ROLLBACK");
  } catch (const Failure &) {
    // It has rolled back by itself, which is how some failures end.
  }
}

void Transaction::commit() {
  database.run("COMMIT");
  over = true;
}
