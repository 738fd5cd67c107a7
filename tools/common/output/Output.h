#ifndef KELVARUNE_TOOLS_COMMON_OUTPUT_OUTPUT_H
#define KELVARUNE_TOOLS_COMMON_OUTPUT_OUTPUT_H

#include "pos/pos.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

/// The exit statuses of programs that look at files.
enum exit_t : int { EXIT_DONE = 0, EXIT_FOUND = 1, EXIT_REFUSED = 2 };

/// Writes the program's name, ": ", `what` and a line break to standard error.
void complain(const QString &what);

/// Writes all of `bytes` to standard output. False, with a complaint, when they cannot be written.
/// A reader that has gone away ends the program by SIGPIPE, silently.
bool printOut(const QByteArray &bytes);

/// Writes `bytes` to standard output and gives the exit status: `status` when that went well.
int finish(const QByteArray &bytes, int status = EXIT_DONE);

/// A name as people can read it on one line: control characters replaced, "(no name)" when empty.
QString shown(const QString &name);

/// "PATH:LINE:COLUMN: ", as compilers write it, so that editors find the place.
QString placed(const QString &path, int line, int column);

/// `number` and the noun, in the plural unless there is one: "3 goals".
QString counted(int number, const char *noun);

/// How much of `total` that is: "1.7 %". Rounded to the nearest tenth, but nothing is "100.0 %"
/// before the last one nor "0.0 %" from the first one on; empty when `total` is 0.
QString share(int number, int total);

/// One record of RFC 4180: fields quoted where they must be, CR LF at the end.
QByteArray csvRecord(const QStringList &fields);

/// When texts are coloured: by itself where standard output is a terminal that knows colours and
/// NO_COLOR is not set.
enum class colour_t { AUTO, ALWAYS, NEVER };

/// Decides that for the texts made from here on; before it is AUTO. For the main thread.
void setColour(colour_t when);
/// As that, by the word that stands for it: "auto", "always" or "never". False for any other.
bool setColour(const QString &when);

/// Text that is coloured where colours are used.
struct cell_t {
  QString text;
  const char *colour = ""; ///< an SGR parameter such as "32"; empty for none

  cell_t(const QString &text, const char *colour = "") : text(text), colour(colour) {}
  explicit cell_t(int number) : text(QString::number(number)) {}
};

/// The canonical text of a status in its colour.
cell_t statusCell(pos::status_t status);

QString coloured(const cell_t &cell);

/// Columns that line up. Rows may have fewer cells than others.
class Table {
public:
  /// `alignments` has a letter per column: "l" or "r".
  explicit Table(const char *alignments) : alignments(alignments) {}

  void add(std::vector<cell_t> cells);
  QString text() const;

private:
  QByteArray alignments;
  std::vector<std::vector<cell_t>> rows;
  std::vector<int> widths;
};

#endif
