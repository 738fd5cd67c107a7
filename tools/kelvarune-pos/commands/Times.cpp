// What drivers and goals took: the last time of each driver on each goal, or those of one run.

#include "model/Times.h"

#include "commands/Commands.h"
#include "commands/Options.h"
#include "commands/Past.h"
#include "output/Json.h"
#include "output/Output.h"
#include "output/Words.h"
#include "text/Literals.h"

#include <algorithm>

using namespace kelvarune;

using history::past_t;
using history::play_t;

namespace {

constexpr int SHOWN_GOALS = 10;

bool isWanted(const past_t &past, const play_t &play, const options_t &options) {
  const history::known_driver_t &driver = past.drivers[play.driver];
  const history::known_goal_t &goal = past.goals[play.goal];
  if (options.driver && *options.driver != driver.driver && *options.driver != nameOf(driver))
    return false;
  return options.goals.empty() ||
         std::any_of(options.goals.begin(), options.goals.end(), [&](const pos::goal_name_t &name) {
           return name.tag == goal.tag && name.number == goal.number;
         });
}

plays_t selected(const past_t &past, const std::optional<std::size_t> &run,
                 const options_t &options) {
  plays_t plays;
  if (!run)
    plays = latestPlays(past);
  for (const play_t &play : past.plays) {
    if (run && play.run == *run)
      plays.push_back(&play);
  }
  plays.erase(std::remove_if(plays.begin(), plays.end(),
                             [&](const play_t *play) { return !isWanted(past, *play, options); }),
              plays.end());
  return plays;
}

struct goal_times_t {
  std::size_t goal;
  plays_t plays;
  double wall;
};

std::vector<goal_times_t> slowestFirst(const plays_t &plays) {
  std::vector<goal_times_t> goals;
  for (const auto &[goal, played] : byGoal(plays))
    goals.push_back({goal, played, timesOf(played).wall});
  std::stable_sort(goals.begin(), goals.end(),
                   [](const goal_times_t &a, const goal_times_t &b) { return a.wall > b.wall; });
  return goals;
}

std::vector<cell_t> rowOf(const QString &name, const times_t &times) {
  return {name,
          cell_t(times.plays),
          cell_t(times.proved),
          textOfSeconds(times.wall),
          textOfSeconds(times.cpu),
          textOfSeconds(times.median),
          textOfSeconds(times.ninety),
          textOfSeconds(times.slowest),
          textOfSeconds(times.wallWithoutProof)};
}

QString driversText(const past_t &past, const plays_t &plays) {
  Table table("lrrrrrrrr");
  table.add({"Drivers"_s, "Goals"_s, "Proved"_s, "Seconds"_s, "Processor"_s, "Median"_s, "90 %"_s,
             "Slowest"_s, "No proof"_s});
  for (const auto &[driver, played] : byDriver(plays))
    table.add(rowOf(nameOf(past.drivers[driver]), timesOf(played)));
  table.add(rowOf("Total"_s, timesOf(plays)));
  return table.text();
}

QString goalsText(const past_t &past, const std::vector<goal_times_t> &goals) {
  Table table("lrl");
  table.add({"Slowest goals"_s, "Seconds"_s, "By driver"_s});
  for (const goal_times_t &goal : goals) {
    QStringList drivers;
    for (const play_t *play : goal.plays)
      drivers << "%1 %2 %3"_s.arg(nameOf(past.drivers[play->driver]), textOfSeconds(play->wall),
                                  nameOf(play->outcome));
    table.add({nameOf(past.goals[goal.goal]), textOfSeconds(goal.wall), drivers.join(", "_s)});
  }
  return table.text();
}

QJsonArray jsonOfGoals(const past_t &past, const std::vector<goal_times_t> &goals) {
  QJsonArray array;
  for (const goal_times_t &goal : goals) {
    QJsonArray plays;
    for (const play_t *play : goal.plays) {
      QJsonObject object = jsonOf(past.drivers[play->driver]);
      object["run"_s] = static_cast<int>(past.runs[play->run].id);
      object["verdict"_s] = jsonOf(play->outcome);
      object["wall"_s] = play->wall;
      object["cpu"_s] = play->cpu;
      plays.append(object);
    }
    QJsonObject object = jsonOf(past.goals[goal.goal]);
    object["wall"_s] = goal.wall;
    object["drivers"_s] = plays;
    array.append(object);
  }
  return array;
}

QByteArray csvOf(const past_t &past, const std::vector<goal_times_t> &goals) {
  const auto number = [](double seconds) { return QString::number(seconds, 'f', 6); };
  QByteArray bytes = csvRecord("tag,number,mechanism,driver,run,verdict,goals_of_entry,wall,cpu,"
                               "prover_wall,time_limit"_s.split(QLatin1Char(',')));
  for (const goal_times_t &goal : goals) {
    for (const play_t *play : goal.plays) {
      const history::known_driver_t &driver = past.drivers[play->driver];
      const history::known_goal_t &name = past.goals[play->goal];
      bytes += csvRecord(
          {name.tag, QString::number(name.number), driver.mechanism, driver.driver,
           QString::number(past.runs[play->run].id),
           play->outcome == history::outcome_t::NOT_COUNTED ? QString() : nameOf(play->outcome),
           QString::number(play->goals), number(play->wall), number(play->cpu),
           number(play->prover), play->timeLimit ? number(*play->timeLimit) : QString()});
    }
  }
  return bytes;
}

} // namespace

int commands::times(const options_t &options) {
  const auto past = readHistory(options);
  if (!past)
    return EXIT_REFUSED;
  std::optional<std::size_t> run;
  if (options.run > 0 && !(run = runNumbered(*past, options.run, options)))
    return EXIT_REFUSED;
  const plays_t plays = selected(*past, run, options);
  if (plays.empty()) {
    complain(historyOf(options, options.file()) + ": nothing that was asked for is in it"_s);
    return EXIT_REFUSED;
  }
  std::vector<goal_times_t> goals = slowestFirst(plays);
  const bool isForPeople = !options.json && !options.csv;
  const std::size_t most = options.slowest > 0 ? static_cast<std::size_t>(options.slowest)
                           : isForPeople       ? SHOWN_GOALS
                                               : goals.size();
  if (goals.size() > most)
    goals.erase(goals.begin() + static_cast<std::ptrdiff_t>(most), goals.end());
  if (options.csv)
    return finish(csvOf(*past, goals));
  if (options.json)
    return finishJson("times", options.file(),
                      {{"run"_s, run ? QJsonValue(options.run) : QJsonValue()},
                       {"drivers"_s, jsonOfDrivers(*past, plays)},
                       {"total"_s, jsonOf(timesOf(plays))},
                       {"goals"_s, jsonOfGoals(*past, goals)}});
  return finish((driversText(*past, plays) + QLatin1Char('\n') + goalsText(*past, goals)).toUtf8());
}
