// The numbers travel as JSON in the page; its script draws the rest.

#include "report/HtmlPage.h"

#include "front/Utils.h"
#include "model/Times.h"
#include "output/Json.h"
#include "output/Output.h"
#include "output/Words.h"
#include "report/Assembly.h"
#include "text/Literals.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFileInfo>
#include <QJsonArray>

#include <algorithm>
#include <cmath>

using namespace kelvarune;

namespace {

/// Numbers the drivers: those of the statistics in their order, as the page's script counts them,
/// then any others in the order in which they are met.
class DriverIndex {
public:
  explicit DriverIndex(const stats_t &stats) {
    for (const auto &[mechanismName, mechanism] : stats.metrics.mechanisms) {
      for (const auto &[driverName, driver] : mechanism->drivers)
        indexOf({QString::fromStdString(mechanismName), QString::fromStdString(driverName)});
    }
  }

  QJsonArray indexesOf(const std::vector<driver_name_t> &drivers) {
    QJsonArray result;
    for (const driver_name_t &driver : drivers)
      result.append(indexOf(driver));
    return result;
  }
  int indexOf(const driver_name_t &driver) {
    const auto [found, isNew] = indexes.insert({driver, names.size()});
    if (isNew)
      names.append(textOf(driver));
    return found->second;
  }

  QJsonArray names;

private:
  std::map<driver_name_t, int> indexes;
};

// Ten thousand objects with long keys would be most of the page, so a goal is an array: index of
// the obligation, number, status, proofs that hold, uncounted ones, disproofs, the own proof, the
// driver without which it is not proved, and where it stands (or null).
QJsonArray rowOf(const goal_t &goal, DriverIndex &drivers) {
  return {goal.place.obligation - 1,
          goal.place.number,
          static_cast<int>(goal.status),
          drivers.indexesOf(goal.provedBy),
          drivers.indexesOf(goal.uncountedProofs),
          drivers.indexesOf(goal.disprovedBy),
          goal.provedByItself ? QJsonValue(goal.proofState) : QJsonValue(),
          goal.onlyProver ? QJsonValue(drivers.indexOf(*goal.onlyProver)) : QJsonValue(),
          goal.source.isEmpty() ? QJsonValue() : QJsonValue(goal.source)};
}

QJsonObject dataOf(const page_t &page, const std::vector<goal_t> &goals, const stats_t &stats) {
  QJsonArray tags;
  QJsonArray rows;
  DriverIndex drivers(stats);
  for (const goal_t &goal : goals) {
    if (goal.place.obligation > tags.size())
      tags.append(shown(goal.place.tag));
    rows.append(rowOf(goal, drivers));
  }
  QJsonObject data = jsonOf(stats);
  data["component"_s] = page.name;
  if (!page.home.isEmpty())
    data["home"_s] = page.home;
  data["file"_s] = QFileInfo(page.path).fileName();
  // The file's time rather than now: the same file always gives the same page.
  data["modified"_s] = QFileInfo(page.path).lastModified().toUTC().toString(Qt::ISODate);
  data["program"_s] = "kelvarune-pos "_s + QCoreApplication::applicationVersion();
  data["obligations"_s] = tags;
  data["drivers"_s] = drivers.names;
  data["goals"_s] = rows;
  return data;
}

// Whole numbers are shorter, and doubles of that size hold them.
double microseconds(double seconds) {
  return std::round(seconds * 1e6);
}

QJsonArray jsonOfRuns(const history::past_t &past) {
  std::vector<plays_t> plays(past.runs.size());
  for (const history::play_t &play : past.plays)
    plays[play.run].push_back(&play);
  QJsonArray runs;
  for (std::size_t i = 0; i < past.runs.size(); ++i) {
    const history::known_run_t &run = past.runs[i];
    const times_t times = timesOf(plays[i]);
    QJsonArray drivers;
    for (const auto &[driver, played] : byDriver(plays[i]))
      drivers.append(QJsonArray{static_cast<int>(driver), microseconds(timesOf(played).wall)});
    runs.append(QJsonObject{
        {"run"_s, static_cast<int>(run.id)},
        {"started"_s, QDateTime::fromMSecsSinceEpoch(std::llround(run.started * 1000), Qt::UTC)
                          .toString(Qt::ISODate)},
        {"took"_s, run.ended ? QJsonValue(microseconds(*run.ended - run.started)) : QJsonValue()},
        {"plays"_s, times.plays},
        {"proved"_s, times.proved},
        {"wall"_s, microseconds(times.wall)},
        {"cpu"_s, microseconds(times.cpu)},
        {"drivers"_s, drivers}});
  }
  return runs;
}

bool hasPlayed(const history::past_t &past, const std::vector<goal_t> &goals) {
  const auto walls = wallByGoal(past);
  return std::any_of(goals.begin(), goals.end(), [&walls](const goal_t &goal) {
    return walls.count({goal.place.tag, goal.place.number}) > 0;
  });
}

// The plays of each of the page's goals: driver, wall clock, processor, outcome.
QJsonObject historyJson(const history::past_t &past, const std::vector<goal_t> &goals) {
  QJsonArray drivers;
  for (const history::known_driver_t &driver : past.drivers)
    drivers.append(textOf(driver_name_t{driver.mechanism, driver.driver}));
  std::map<std::pair<QString, int>, QJsonArray> plays;
  for (const history::play_t *play : latestPlays(past)) {
    const history::known_goal_t &goal = past.goals[play->goal];
    plays[{goal.tag, goal.number}].append(
        QJsonArray{static_cast<int>(play->driver), microseconds(play->wall),
                   microseconds(play->cpu), static_cast<int>(play->outcome)});
  }
  QJsonArray ofGoals;
  for (const goal_t &goal : goals) {
    const auto found = plays.find({goal.place.tag, goal.place.number});
    ofGoals.append(found == plays.end() ? QJsonArray() : found->second);
  }
  return {{"drivers"_s, drivers}, {"runs"_s, jsonOfRuns(past)}, {"plays"_s, ofGoals}};
}

} // namespace

page_t pageOf(const QString &path) {
  return {path, QString::fromStdString(baseNameOfPath(path.toStdString())), QString()};
}

QByteArray htmlPage(const page_t &page, const std::vector<goal_t> &goals, const stats_t &stats,
                    const std::optional<history::past_t> &past) {
  QJsonObject data = dataOf(page, goals, stats);
  if (!past || !hasPlayed(*past, goals))
    return assembled("page.html", {"base.css", "page.css"}, {"parts.js", "page.js"}, data);
  data["history"_s] = historyJson(*past, goals);
  return assembled("page.html", {"base.css", "page.css", "times.css"},
                   {"parts.js", "times.js", "page.js"}, data);
}
