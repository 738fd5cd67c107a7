#ifndef KELVARUNE_HISTORY_DATABASE_H
#define KELVARUNE_HISTORY_DATABASE_H

#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

/// A history's file: opening it, and SQL with values. One thread at a time for each object.
namespace history {

/// Why a history cannot be read or written. `what` is one sentence without its end.
class Failure : public std::runtime_error {
public:
  enum class kind_t { BUSY, FOREIGN, NEWER, MISSING, OTHER };

  Failure(kind_t kind, const std::string &what) : std::runtime_error(what), kind(kind) {}

  const kind_t kind;
};

/// A statement that is run again and again. Raises Failure.
class Statement {
public:
  Statement(sqlite3 *database, const char *sql);

  /// Gives the next parameter its value.
  Statement &bind(const QString &value);
  Statement &bind(std::int64_t value);
  Statement &bind(double value);
  Statement &bind(std::optional<double> value); ///< without a value it is NULL
  Statement &bindNull();

  /// The next row, false behind the last one; the parameters may then be bound anew.
  bool step();
  /// Runs it to its end.
  void run();

  QString text(int column) const; ///< null for NULL
  std::int64_t integer(int column) const;
  double real(int column) const;
  std::optional<double> optionalReal(int column) const;

private:
  void check(int result) const;
  void reset();

  sqlite3 *database;
  std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt *)> statement;
  int bound = 0;
};

enum class use_t { READING, WRITING };

/// An open history. Raises Failure.
///
/// The journal is the plain one that is rolled back, not a write-ahead log: that one needs memory
/// which all who use the file share, and the parts of a run on a cluster share only the file.
class Database {
public:
  /// Opens the history at `path`. For writing it is made where there is none, and one of an older
  /// version gets what it lacks; one of a newer version and a file that is something else are
  /// refused, and not touched.
  Database(const std::string &path, use_t use);

  /// Whether there is the table of provers, which a history of the first version lacks as long as
  /// it is only read.
  bool knowsProvers();

  Statement prepare(const char *sql) { return Statement(database.get(), sql); }
  void run(const char *sql) { prepare(sql).run(); }
  std::int64_t lastId() const;

private:
  void open(const std::string &path, int flags);
  std::int64_t pragma(const char *name);
  bool isNew();
  void checkVersion();
  void makeTables();

  std::unique_ptr<sqlite3, int (*)(sqlite3 *)> database;
};

/// What is done between its beginning and `commit` happens as a whole or not at all. Raises
/// Failure.
class Transaction {
public:
  explicit Transaction(Database &database) : database(database) { database.run("BEGIN IMMEDIATE"); }
  ~Transaction();
  Transaction(const Transaction &) = delete;
  Transaction &operator=(const Transaction &) = delete;

  void commit();

private:
  Database &database;
  bool over = false;
};

} // namespace history

#endif
