// What the observer says of an entry, as the history keeps it.

#include "Recording.h"

#include "Limits.h"
#include "shell/Quoting.h"
#include "text/Literals.h"
#include "wrapper/Layers.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QFile>
#include <QSysInfo>

#include <algorithm>
#include <string_view>

using namespace kelvarune;

using end_t = tool_record_t::end_t;

namespace {

constexpr std::chrono::seconds PATIENCE(10);
constexpr int KEPT_CHARACTERS = 1000;
constexpr double MILLISECONDS_FROM = 1000; // see timeLimitOf

double seconds(std::chrono::microseconds time) {
  return std::chrono::duration<double>(time).count();
}

double seconds(std::chrono::system_clock::time_point time) {
  return std::chrono::duration<double>(time.time_since_epoch()).count();
}

history::run_t thisRun(const play_options_t &options) {
  return {seconds(std::chrono::system_clock::now()), QSysInfo::machineHostName(),
          QCoreApplication::applicationName() + QLatin1Char(' ') +
              QCoreApplication::applicationVersion(),
          static_cast<int>(options.concurrency), shellQuoted(QCoreApplication::arguments())};
}

QString digestOf(const QString &path) {
  QFile file(path);
  QCryptographicHash hash(QCryptographicHash::Sha256);
  return file.open(QIODevice::ReadOnly) && hash.addData(&file)
             ? QLatin1String(hash.result().toHex())
             : QString();
}

/// The last lines of a text, or what one line has at its end.
QString lastLines(const process::Excerpt &text) {
  const std::string bytes = std::string(text.beginning()) + std::string(text.end());
  const QString kept = QString::fromUtf8(bytes.data(), static_cast<int>(bytes.size())).trimmed();
  if (kept.size() <= KEPT_CHARACTERS)
    return kept.isNull() ? ""_s : kept;
  const QString end = kept.right(KEPT_CHARACTERS);
  return end.mid(end.indexOf(QLatin1Char('\n')) + 1); // all of it when it is one line
}

QString endOf(const tool_record_t &tool) {
  switch (tool.end) {
  case end_t::NOT_RUN:
    return "not run"_s;
  case end_t::NOT_STARTED:
    return "not started"_s;
  case end_t::SIGNALLED:
    return "signal"_s;
  case end_t::ABANDONED:
    return "abandoned"_s;
  case end_t::EXITED:
    break;
  }
  if (const QString limit = reachedLimit(tool); !limit.isEmpty())
    return limit.contains("memory limit"_s) ? "memory limit"_s : "time limit"_s;
  return tool.number == 0 ? "normal"_s : "status"_s;
}

history::tool_t toolOf(const tool_record_t &tool) {
  return {seconds(tool.wall),
          seconds(tool.user + tool.system),
          static_cast<std::int64_t>(tool.peakMemory),
          tool.peakIsBound,
          endOf(tool),
          tool.number};
}

// Prover and reader run side by side; the prover may have had to wait for its turn.
double wallOf(const entry_record_t &record) {
  const auto endOfTool = [](const tool_record_t &tool) { return tool.start + tool.wall; };
  const double written = seconds(record.writer.wall);
  if (record.prover.end == end_t::NOT_RUN)
    return written;
  const auto span =
      std::max(endOfTool(record.prover), endOfTool(record.reader)) -
      std::min(record.prover.start,
               record.reader.end == end_t::NOT_RUN ? record.prover.start : record.reader.start);
  return written + std::chrono::duration<double>(span).count();
}

QString textOf(loss_t loss) {
  switch (loss) {
  case loss_t::CRASH:
    return "crash"_s;
  case loss_t::RESULT_COUNT:
    return "number of results"_s;
  case loss_t::NO_ROOM:
    return "no room"_s;
  case loss_t::NONE:
    break;
  }
  return QString();
}

/// The time limit that kelvarune-limit was given.
std::optional<double> limitAmong(const tool_record_t &tool) {
  const QString program = QString::fromStdString(tool.program.native());
  for (const wrapper::layer_t &layer : wrapper::layersOf(program, tool.arguments)) {
    bool isNumber = false;
    const double limit = layer.value("--time"_s).toDouble(&isNumber);
    if (isNumber)
      return limit;
  }
  return std::nullopt;
}

/// The description's limit is in a unit of the prover's own: numbers from 1,000 on are taken for
/// milliseconds, others for seconds.
double secondsOfTimeout(int timeout) {
  return timeout >= MILLISECONDS_FROM ? timeout / MILLISECONDS_FROM : timeout;
}

} // namespace

Recording::Recording(const play_options_t &options) {
  if (!options.keepsHistory())
    return;
  recorder.emplace(options.history, thisRun(options));
  versions.emplace(options.history,
                   [this](history::prover_t prover) { recorder->add(std::move(prover)); });
}

void Recording::startMechanism(const QString &path, const mechanism::mechanism_t &mechanism) {
  if (!recorder)
    return;
  timeLimits.clear();
  for (const mechanism::driver_t &driver : mechanism.drivers) {
    if (driver.prover.timeout > 0)
      timeLimits[driver.name] = secondsOfTimeout(driver.prover.timeout);
  }
  recorder->add(history::mechanism_t{QString::fromStdString(mechanism.name), path, digestOf(path),
                                     mechanism::qstringOfTrust.at(mechanism.trust),
                                     mechanism.driver_names});
}

void Recording::take(const entry_record_t &record) {
  if (!recorder || record.goals.empty())
    return;
  versions->take(record);
  history::entry_t entry;
  entry.mechanism = record.mechanism;
  entry.driver = record.driver;
  for (std::size_t i = 0; i < record.goals.size(); ++i)
    entry.verdicts.push_back(
        {record.goals[i].tag, record.goals[i].number, record.verdicts.value(static_cast<int>(i))});
  entry.started = seconds(record.writer.start);
  entry.wall = wallOf(record);
  entry.loss = textOf(record.loss);
  entry.writer = toolOf(record.writer);
  entry.prover = toolOf(record.prover);
  entry.reader = toolOf(record.reader);
  entry.cpu = entry.writer.cpu + entry.prover.cpu + entry.reader.cpu;
  entry.timeLimit = limitAmong(record.prover);
  // For several goals the description's limit is often that of one of them.
  const auto limit = timeLimits.find(record.driver);
  if (limit != timeLimits.end() && record.goals.size() == 1)
    entry.timeLimit = std::min(entry.timeLimit.value_or(limit->second), limit->second);
  if (record.verdicts.count(pos::ATTR_VALUE_PROVED) != static_cast<int>(record.goals.size())) {
    const bool isWriters = record.prover.end == end_t::NOT_RUN;
    entry.output = lastLines(record.proverOutput);
    entry.errors = lastLines(isWriters ? record.writer.standardError : record.prover.standardError);
  }
  recorder->add(std::move(entry));
}

QStringList Recording::end(int status) {
  return recorder ? close(status, versions->finish()) : QStringList();
}

QStringList Recording::stop(int status) {
  return recorder ? close(status, versions->stop()) : QStringList();
}

QStringList Recording::close(int status, QStringList lines) {
  const QString fault = recorder->end(status, PATIENCE);
  if (!fault.isEmpty())
    lines << fault;
  return lines;
}
