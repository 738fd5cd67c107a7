#include "kelvarune-limit/Outcome.h"

#include "text/Literals.h"
#include "wrapper/Ending.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <csignal>
#include <cstring>

using namespace kelvarune;

namespace limit {

namespace {

double secondsOf(std::chrono::microseconds time) {
  return std::chrono::duration<double>(time).count();
}

QString wordFor(end_t end) {
  switch (end) {
  case end_t::EXITED:
    return "exited"_s;
  case end_t::SIGNALLED:
    return "signalled"_s;
  case end_t::NOT_STARTED:
    return "not started"_s;
  case end_t::STOPPED:
    return "stopped"_s;
  case end_t::TIME_LIMIT:
    return "time limit"_s;
  case end_t::PROCESSOR_LIMIT:
    return "processor time limit"_s;
  case end_t::MEMORY_LIMIT:
    break;
  }
  return "memory limit"_s;
}

QString limitText(end_t end, const options_t &options) {
  switch (end) {
  case end_t::TIME_LIMIT:
    return options.timeText + " s"_s;
  case end_t::PROCESSOR_LIMIT:
    return options.processorText + " s"_s;
  case end_t::MEMORY_LIMIT:
    return options.memoryText;
  default:
    return QString();
  }
}

} // namespace

QString messageFor(const outcome_t &outcome, const options_t &options) {
  const QString rest = outcome.allGone ? QString() : "; not all processes could be ended"_s;
  const QString limit = limitText(outcome.end, options);
  if (!limit.isEmpty())
    return wordFor(outcome.end) + " of "_s + limit + " reached"_s + rest;
  if (outcome.end == end_t::NOT_STARTED)
    return "cannot run %1: %2"_s.arg(QString::fromStdString(options.command.front()),
                                     outcome.number == 0
                                         ? "the system has no more processes or descriptors"_s
                                         : QString::fromLocal8Bit(std::strerror(outcome.number)));
  return rest.mid(2);
}

QByteArray reportOf(const outcome_t &outcome, const options_t &options) {
  QJsonArray command;
  for (const std::string &word : options.command)
    command.append(QString::fromStdString(word));
  QJsonObject report = {{"command"_s, command},
                        {"end"_s, wordFor(outcome.end)},
                        {"wall"_s, secondsOf(outcome.wall)},
                        {"user"_s, secondsOf(outcome.user)},
                        {"system"_s, secondsOf(outcome.system)},
                        {"memory"_s, static_cast<double>(outcome.peakMemory)}};
  if (outcome.end == end_t::EXITED)
    report["status"_s] = outcome.number;
  if (outcome.end == end_t::SIGNALLED || outcome.end == end_t::STOPPED)
    report["signal"_s] = outcome.number;
  return QJsonDocument(report).toJson();
}

void endAs(const outcome_t &outcome) {
  switch (outcome.end) {
  case end_t::EXITED:
    wrapper::endLike(0, outcome.number);
  case end_t::SIGNALLED:
  case end_t::STOPPED:
    wrapper::endLike(outcome.number, 0);
  case end_t::NOT_STARTED:
    if (outcome.number == 0) // nobody shall take what was never said for an answer
      wrapper::endLike(SIGABRT, 0);
    wrapper::endLike(0, wrapper::statusOfError(outcome.number));
  case end_t::TIME_LIMIT:
    wrapper::endLike(0, wrapper::STATUS_TIME_LIMIT);
  case end_t::PROCESSOR_LIMIT:
    wrapper::endLike(0, wrapper::STATUS_PROCESSOR_LIMIT);
  case end_t::MEMORY_LIMIT:
    break;
  }
  wrapper::endLike(0, wrapper::STATUS_MEMORY_LIMIT);
}

} // namespace limit
