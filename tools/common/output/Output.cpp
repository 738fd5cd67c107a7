// The voices of a program. Standard output is written at the end of a command, in one piece: a
// command that fails half-way has then printed nothing that could be taken for its result.

#include "output/Output.h"

#include "file/Io.h"
#include "text/Literals.h"

#include <QCoreApplication>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <map>

#include <unistd.h>

using namespace kelvarune;

namespace {

colour_t &colourSetting() {
  static colour_t setting = colour_t::AUTO;
  return setting;
}

bool isColourTerminal() {
  static const bool is = ::isatty(STDOUT_FILENO) == 1 && qEnvironmentVariableIsEmpty("NO_COLOR") &&
                         qgetenv("TERM") != "dumb";
  return is;
}

bool useColours() {
  return colourSetting() == colour_t::AUTO ? isColourTerminal()
                                           : colourSetting() == colour_t::ALWAYS;
}

QString quotedField(const QString &field) {
  const auto mustBeQuoted = [](QChar c) {
    return c == QLatin1Char(',') || c == QLatin1Char('"') || c == QLatin1Char('\n') ||
           c == QLatin1Char('\r');
  };
  if (std::none_of(field.begin(), field.end(), mustBeQuoted))
    return field;
  return QLatin1Char('"') + QString(field).replace("\""_s, "\"\""_s) + QLatin1Char('"');
}

} // namespace

void complain(const QString &what) {
  const QString line =
      QCoreApplication::applicationName() + ": "_s + shown(what) + QLatin1Char('\n');
  std::cerr << line.toStdString() << std::flush;
}

bool printOut(const QByteArray &bytes) {
  if (file::writeAll(STDOUT_FILENO, bytes))
    return true;
  complain("cannot write standard output: "_s + QString::fromLocal8Bit(std::strerror(errno)));
  return false;
}

int finish(const QByteArray &bytes, int status) {
  return printOut(bytes) ? status : EXIT_REFUSED;
}

QString shown(const QString &name) {
  if (name.isEmpty())
    return "(no name)"_s;
  QString text = name;
  std::replace_if(
      text.begin(), text.end(), [](QChar c) { return c.category() == QChar::Other_Control; },
      QChar(QChar::ReplacementCharacter));
  return text;
}

QString placed(const QString &path, int line, int column) {
  return path + QLatin1Char(':') + QString::number(line) + QLatin1Char(':') +
         QString::number(column) + ": "_s;
}

QString counted(int number, const char *noun) {
  return QString::number(number) + QLatin1Char(' ') + QLatin1String(noun) +
         (number == 1 ? QString() : "s"_s);
}

QString share(int number, int total) {
  if (total == 0)
    return QString();
  const int nearest = static_cast<int>((qint64(2000) * number + total) / (qint64(2) * total));
  const int least = number == 0 ? 0 : 1;
  const int most = number == total ? 1000 : 999;
  const int tenths = std::clamp(nearest, least, most);
  return "%1.%2 %"_s.arg(tenths / 10).arg(tenths % 10);
}

QByteArray csvRecord(const QStringList &fields) {
  QStringList quoted;
  for (const QString &field : fields)
    quoted.append(quotedField(field));
  return quoted.join(QLatin1Char(',')).toUtf8() + "\r\n";
}

void setColour(colour_t when) {
  colourSetting() = when;
}

bool setColour(const QString &when) {
  static const std::map<QString, colour_t> known = {
      {"auto"_s, colour_t::AUTO}, {"always"_s, colour_t::ALWAYS}, {"never"_s, colour_t::NEVER}};
  const auto found = known.find(when);
  if (found == known.end())
    return false;
  setColour(found->second);
  return true;
}

cell_t statusCell(pos::status_t status) {
  static const std::map<pos::status_t, const char *> colours = {{pos::UNPROVED, "33"},
                                                                {pos::UNKNOWN, "35"},
                                                                {pos::UNRELIABLY_PROVED, "36"},
                                                                {pos::PROVED, "32"},
                                                                {pos::DISPROVED, "1;31"}};
  return {pos::strOfProofStatus(status), colours.at(status)};
}

QString coloured(const cell_t &cell) {
  if (*cell.colour == '\0' || !useColours())
    return cell.text;
  return "\x1b["_s + QLatin1String(cell.colour) + QLatin1Char('m') + cell.text + "\x1b[0m"_s;
}

void Table::add(std::vector<cell_t> cells) {
  widths.resize(std::max(widths.size(), cells.size()));
  for (std::size_t i = 0; i < cells.size(); ++i)
    widths[i] = std::max(widths[i], cells[i].text.size());
  rows.push_back(std::move(cells));
}

QString Table::text() const {
  QString result;
  for (std::vector<cell_t> row : rows) {
    while (!row.empty() && row.back().text.isEmpty())
      row.pop_back();
    for (std::size_t i = 0; i < row.size(); ++i) {
      const QString padding(widths[i] - row[i].text.size(), QLatin1Char(' '));
      const bool right = alignments[static_cast<int>(i)] == 'r';
      const bool last = i + 1 == row.size();
      result += (i == 0 ? QString() : "  "_s) + (right ? padding : QString()) + coloured(row[i]) +
                (right || last ? QString() : padding);
    }
    result += QLatin1Char('\n');
  }
  return result;
}
