// What the commands on histories share: finding the file, and words for what it holds.

#include "commands/Past.h"

#include "commands/Options.h"
#include "history/Database.h"
#include "output/Output.h"
#include "output/Words.h"
#include "text/Literals.h"

#include <QDateTime>

#include <cmath>

using namespace kelvarune;

using history::outcome_t;
using history::past_t;

namespace {

constexpr double MILLISECONDS = 1000;

std::optional<past_t> readAt(const QString &path, bool isNeeded) {
  try {
    return history::readPast(path);
  } catch (const history::Failure &failure) {
    if (failure.kind != history::Failure::kind_t::MISSING)
      complain("%1: %2"_s.arg(path, QString::fromUtf8(failure.what())));
    else if (isNeeded)
      complain(path + ": no such file; kelvarune-play records one, --history names another"_s);
  }
  return std::nullopt;
}

} // namespace

QString historyOf(const options_t &options, const QString &posPath) {
  return options.history.isEmpty() ? history::pathBeside(posPath) : options.history;
}

std::optional<past_t> readHistory(const options_t &options) {
  return readAt(historyOf(options, options.file()), true);
}

std::optional<past_t> findHistory(const options_t &options, const QString &posPath) {
  return readAt(historyOf(options, posPath), !options.history.isEmpty());
}

std::optional<std::size_t> runNumbered(const past_t &past, int number, const options_t &options) {
  for (std::size_t i = 0; i < past.runs.size(); ++i) {
    if (past.runs[i].id == number)
      return i;
  }
  complain("%1: no run %2; kelvarune-pos history %3 lists them"_s.arg(
      historyOf(options, options.file()), QString::number(number), options.file()));
  return std::nullopt;
}

QString textOfSeconds(double seconds) {
  return QString::number(seconds, 'f', 3);
}

QString nameOf(const history::known_driver_t &driver) {
  return textOf(driver_name_t{driver.mechanism, driver.driver});
}

QString nameOf(const history::known_goal_t &goal) {
  return textOf(pos::goal_name_t{goal.tag, goal.number});
}

QString nameOf(outcome_t outcome) {
  switch (outcome) {
  case outcome_t::PROVED:
    return "Proved"_s;
  case outcome_t::DISPROVED:
    return "Disproved"_s;
  case outcome_t::UNKNOWN:
    return "Unknown"_s;
  case outcome_t::NOT_COUNTED:
    break;
  }
  return "not counted"_s;
}

QString textOfTime(double since1970) {
  return QDateTime::fromMSecsSinceEpoch(std::llround(since1970 * MILLISECONDS), Qt::UTC)
      .toString(Qt::ISODate);
}

QJsonObject jsonOf(const history::known_driver_t &driver) {
  return {{"mechanism"_s, driver.mechanism}, {"driver"_s, driver.driver}};
}

QJsonObject jsonOf(const history::known_goal_t &goal) {
  return {{"tag"_s, goal.tag}, {"number"_s, goal.number}};
}

QJsonValue jsonOf(outcome_t outcome) {
  return outcome == outcome_t::NOT_COUNTED ? QJsonValue() : QJsonValue(nameOf(outcome));
}

QJsonObject jsonOf(const times_t &times) {
  return {{"goals"_s, times.plays},
          {"proved"_s, times.proved},
          {"disproved"_s, times.disproved},
          {"wall"_s, times.wall},
          {"cpu"_s, times.cpu},
          {"wallWithoutProof"_s, times.wallWithoutProof},
          {"median"_s, times.median},
          {"ninety"_s, times.ninety},
          {"slowest"_s, times.slowest}};
}

QJsonArray jsonOfDrivers(const past_t &past, const plays_t &plays) {
  QJsonArray array;
  for (const auto &[driver, played] : byDriver(plays)) {
    QJsonObject object = jsonOf(timesOf(played));
    const QJsonObject name = jsonOf(past.drivers[driver]);
    for (auto each = name.begin(); each != name.end(); ++each)
      object[each.key()] = each.value();
    array.append(object);
  }
  return array;
}
