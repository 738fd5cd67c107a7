// The story of one entry, in the order in which its tools worked. Whatever they said is indented,
// so that nothing of it is taken for ours.

#include "Explanation.h"

#include "Causes.h"
#include "Commands.h"
#include "output/Output.h"
#include "output/Words.h"
#include "text/Literals.h"

#include <QDir>
#include <QLocale>

using namespace kelvarune;

namespace {

constexpr double MEGABYTE = 1024.0 * 1024.0;
constexpr int INDENT = 4;

QString secondsOf(std::chrono::microseconds time) {
  const double seconds = std::chrono::duration<double>(time).count();
  return QString::number(seconds, 'f', seconds < 1 ? 3 : 1) + " s"_s;
}

/// Text of a tool, one indented line for each of its lines; without what would move the cursor.
QString indented(std::string_view bytes) {
  QString text = QString::fromUtf8(bytes.data(), static_cast<int>(bytes.size()));
  if (text.endsWith(QLatin1Char('\n')))
    text.chop(1);
  QString result;
  for (const QString &line : text.split(QLatin1Char('\n'))) {
    const QString visible = line.isEmpty() ? line : shown(QString(line).replace("\t"_s, "  "_s));
    result += QString(INDENT, QLatin1Char(' ')) + visible + QLatin1Char('\n');
  }
  return result;
}

QString numberOf(std::uint64_t bytes) {
  return QLocale(QLocale::English).toString(static_cast<qulonglong>(bytes)); // 12,345
}

QString quotedText(const QString &title, const process::Excerpt &text) {
  const QString head = "  %1 (%2 bytes)"_s.arg(title, numberOf(text.length()));
  if (text.length() == 0)
    return head + QLatin1Char('\n');
  QString body;
  if (text.omitted() == 0)
    body = indented(std::string(text.beginning()) + std::string(text.end()));
  else
    body = (text.beginning().empty() ? QString() : indented(text.beginning())) +
           "  [%1 bytes are left out here]\n"_s.arg(numberOf(text.omitted())) +
           indented(text.end());
  return head + ":\n"_s + body;
}

QString costsOf(const tool_record_t &tool) {
  const QString memory = QString::number(static_cast<double>(tool.peakMemory) / MEGABYTE, 'f', 1);
  return "%1 (user %2, system %3), memory %4%5 MB"_s.arg(
      secondsOf(tool.wall), secondsOf(tool.user), secondsOf(tool.system),
      tool.peakIsBound ? "at most "_s : QString(), memory);
}

QString toolText(const QString &name, const tool_record_t &tool) {
  using end_t = tool_record_t::end_t;
  const bool ran = tool.end == end_t::EXITED || tool.end == end_t::SIGNALLED;
  QString text = "  %1: "_s.arg(name) + endOf(tool) + (ran ? "; "_s + costsOf(tool) : QString()) +
                 QLatin1Char('\n');
  if (tool.standardError.length() > 0)
    text += quotedText("its standard error"_s, tool.standardError);
  return text;
}

std::chrono::microseconds timeOf(const entry_record_t &record) {
  // The prover and the reader run side by side.
  return record.writer.wall + std::max(record.prover.wall, record.reader.wall);
}

QString verdictText(const entry_record_t &record, int goal, const QString &cause, medium_t medium) {
  const QString verdict = record.verdicts.value(goal);
  const QString name = textOf(record.goals[static_cast<std::size_t>(goal)]) + ": "_s;
  const QString time = " in "_s + secondsOf(timeOf(record));
  if (verdict.isEmpty())
    return name + "no verdict of "_s + driverOf(record) + ": "_s + cause;
  const pos::status_t status = pos::proofStatusOfAttrValue(verdict);
  const QString word = medium == medium_t::SCREEN ? coloured(statusCell(status)) : verdict;
  if (status == pos::UNKNOWN)
    return name + word + ": "_s + driverOf(record) + time +
           (cause.isEmpty() ? QString() : ": "_s + cause);
  return name + word + " by "_s + driverOf(record) + time;
}

chain_t chainOf(const entry_record_t &record) {
  return {{record.writer.program, record.writer.arguments},
          {record.prover.program, record.prover.arguments},
          {record.reader.program, record.reader.arguments},
          record.input,
          record.secondaryFile};
}

} // namespace

QString driverOf(const entry_record_t &record) {
  return textOf(driver_name_t{record.mechanism, record.driver});
}

QString explanationOf(const entry_record_t &record, medium_t medium) {
  const std::optional<cause_t> cause = causeOf(record);
  QString text;
  for (int i = 0; i < static_cast<int>(record.goals.size()); ++i)
    text += verdictText(record, i, cause ? cause->text() : QString(), medium) + QLatin1Char('\n');
  text += "  secondary file: "_s + record.secondaryFile +
          (record.secondaryFileWritten ? QString() : " (not written)"_s) + QLatin1Char('\n');
  text += toolText("writer"_s, record.writer) + toolText("prover"_s, record.prover);
  text += quotedText("the reader's input"_s, record.proverOutput);
  text += toolText("reader"_s, record.reader);
  text += quotedText("the reader's output"_s, record.readerOutput);
  text += "  to repeat it in %1:\n"_s.arg(QDir::currentPath());
  for (const QString &line : linesOf(chainOf(record)))
    text += QString(INDENT, QLatin1Char(' ')) + line + QLatin1Char('\n');
  return text;
}
