// The tools form a chain, and what goes wrong in one shows in those behind it: a prover that does
// not know an option leaves its reader without input. So the first that complains is blamed, except
// that an exit status alone is not held against a tool whose chain has decided the goals.

#include "Causes.h"

#include "Limits.h"
#include "output/Output.h"
#include "text/Literals.h"

#include <QStringList>

#include <algorithm>
#include <cstring>

using namespace kelvarune;

namespace {

using end_t = tool_record_t::end_t;

constexpr int QUOTED_CHARACTERS = 200;

QString decoded(std::string_view bytes) {
  return QString::fromUtf8(bytes.data(), static_cast<int>(bytes.size()));
}

QString quoted(const QString &text) {
  const QString line = text.simplified();
  const bool isLong = line.size() > QUOTED_CHARACTERS;
  return "'%1'"_s.arg(isLong ? line.left(QUOTED_CHARACTERS) + "..."_s : line);
}

QString nameOfSignal(int number) {
  const char *name = ::sigabbrev_np(number);
  return name ? " (SIG%1)"_s.arg(QLatin1String(name)) : QString();
}

QStringList linesIn(const process::Excerpt &text) {
  return (decoded(text.beginning()) + decoded(text.end()))
      .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

bool speaksOfError(const QString &line) {
  return line.contains("error"_s, Qt::CaseInsensitive);
}

/// The line of a tool's complaints that tells most: the first that speaks of an error, else the
/// last. The beginning of what was kept may be the rest of a line, which is as good.
QString tellingLine(const process::Excerpt &complaints) {
  QString telling;
  for (const QString &line : linesIn(complaints)) {
    telling = line.trimmed().isEmpty() ? telling : line;
    if (speaksOfError(line))
      break;
  }
  return telling;
}

/// Some provers complain where their results are expected, among which only errors are complaints.
QString errorLine(const process::Excerpt &results) {
  const QStringList lines = linesIn(results);
  const auto found = std::find_if(lines.begin(), lines.end(), speaksOfError);
  return found == lines.end() ? QString() : *found;
}

/// The causes that a tool as such may give.
class Chain {
public:
  explicit Chain(const entry_record_t &record) : record(record) {}

  /// A tool that could not be started or was ended by a signal, or made no file to work on.
  std::optional<cause_t> failure() const {
    for (const auto &[name, tool] : tools()) {
      if (tool->end == end_t::NOT_STARTED || tool->end == end_t::SIGNALLED)
        return causeIn(name, *tool, true);
      if (tool == &record.writer && !record.secondaryFileWritten)
        return noFile();
    }
    if (record.prover.end == end_t::NOT_RUN)
      return cause_t{"prover not run: the secondary file cannot be read"_s, QString(), true};
    return std::nullopt;
  }

  /// A tool that ended with another exit status than 0.
  std::optional<cause_t> complaint() const {
    for (const auto &[name, tool] : tools()) {
      if (tool->end == end_t::EXITED && tool->number != 0)
        return causeIn(name, *tool, false);
    }
    return std::nullopt;
  }

private:
  std::vector<std::pair<QString, const tool_record_t *>> tools() const {
    return {
        {"writer"_s, &record.writer}, {"prover"_s, &record.prover}, {"reader"_s, &record.reader}};
  }

  cause_t causeIn(const QString &name, const tool_record_t &tool, bool failed) const {
    const QString what = name + QLatin1Char(' ') + endOf(tool);
    return reachedLimit(tool).isEmpty() ? causeWith(what, tool, failed)
                                        : cause_t{what, QString(), failed};
  }

  cause_t causeWith(const QString &what, const tool_record_t &tool, bool failed) const {
    QString line = tellingLine(tool.standardError);
    if (line.isEmpty() && &tool == &record.prover)
      line = errorLine(record.proverOutput);
    if (line.isEmpty())
      return {what, QString(), failed};
    return {what + ": %1"_s, quoted(line.replace(record.secondaryFile, "${file}"_s)), failed};
  }

  cause_t noFile() const {
    const bool isSilent = record.writer.number == 0;
    return causeWith(isSilent ? "writer made no file"_s
                              : "writer %1 and made no file"_s.arg(endOf(record.writer)),
                     record.writer, true);
  }

  const entry_record_t &record;
};

/// What the reader printed when that is not what it must print.
std::optional<cause_t> causeInOutput(const entry_record_t &record) {
  const QString output = decoded(record.readerOutput.beginning());
  if (output.trimmed().isEmpty())
    return cause_t{"reader printed nothing"_s, QString(), true};
  if (record.loss == loss_t::RESULT_COUNT)
    return cause_t{"reader printed %1"_s,
                   counted(static_cast<int>(record.resultCount), "line") + " for "_s +
                       counted(static_cast<int>(record.goals.size()), "goal"),
                   true};
  if (!record.verdicts.contains(QString()))
    return std::nullopt;
  const QStringList lines = output.trimmed().split(QLatin1Char('\n'));
  return cause_t{"reader printed %1, which is no verdict"_s,
                 quoted(lines.value(record.verdicts.indexOf(QString()))), true};
}

bool isDecided(const entry_record_t &record) {
  return record.loss == loss_t::NONE &&
         std::all_of(record.verdicts.begin(), record.verdicts.end(),
                     [](const QString &verdict) {
                       return verdict == pos::ATTR_VALUE_PROVED ||
                              verdict == pos::ATTR_VALUE_DISPROVED;
                     }) &&
         !record.verdicts.isEmpty();
}

} // namespace

QString cause_t::text() const {
  return detail.isNull() ? what : what.arg(detail);
}

QString endOf(const tool_record_t &tool) {
  switch (tool.end) {
  case end_t::NOT_RUN:
    return "was not run"_s;
  case end_t::NOT_STARTED:
    return "could not be started"_s +
           (tool.number == 0 ? QString()
                             : ": "_s + QString::fromLocal8Bit(std::strerror(tool.number)));
  case end_t::SIGNALLED:
    return "was ended by signal %1"_s.arg(tool.number) + nameOfSignal(tool.number);
  case end_t::ABANDONED:
    return "was ended with the prover"_s;
  case end_t::EXITED:
    break;
  }
  if (QString limit = reachedLimit(tool); !limit.isEmpty())
    return limit;
  return "exited with status %1"_s.arg(tool.number);
}

std::optional<cause_t> causeOf(const entry_record_t &record) {
  if (record.goals.empty()) // as of a driver that puts all goals together when there are none
    return std::nullopt;
  if (record.loss == loss_t::NO_ROOM)
    return cause_t{"the system has no more processes or descriptors"_s, QString(), true};
  const Chain chain(record);
  if (auto failure = chain.failure())
    return failure;
  if (isDecided(record))
    return std::nullopt;
  std::optional<cause_t> cause = chain.complaint();
  const std::optional<cause_t> printed = causeInOutput(record);
  if (!cause || !printed)
    return cause ? cause : printed;
  // Such a prover may leave its reader speechless; one that speaks, but not in verdicts, is faulty.
  cause->failed = true;
  if (!record.readerOutput.beginning().empty())
    cause->what += record.loss == loss_t::RESULT_COUNT
                       ? ", and reader printed the wrong number of lines"_s
                       : ", and reader printed no verdict"_s;
  return cause;
}
