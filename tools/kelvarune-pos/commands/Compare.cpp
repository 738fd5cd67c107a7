// What runs say differently.

#include "commands/Commands.h"
#include "commands/Options.h"
#include "commands/Past.h"
#include "model/Runs.h"
#include "output/Json.h"
#include "output/Output.h"
#include "text/Literals.h"

using namespace kelvarune;

using history::past_t;
using history::play_t;

namespace {

QStringList outcomeNames(const std::set<history::outcome_t> &outcomes) {
  QStringList names;
  for (const history::outcome_t outcome : outcomes)
    names << nameOf(outcome);
  return names;
}

QString nearText(const play_t *play) {
  return play ? "took %1 s of %2 s"_s.arg(textOfSeconds(play->prover)).arg(*play->timeLimit)
              : QString();
}

QJsonObject named(const past_t &past, std::size_t driver, std::size_t goal) {
  QJsonObject object = jsonOf(past.goals[goal]);
  object["mechanism"_s] = past.drivers[driver].mechanism;
  object["driver"_s] = past.drivers[driver].driver;
  return object;
}

QJsonArray jsonOfNames(const past_t &past, const std::vector<std::size_t> &goals) {
  QJsonArray array;
  for (const std::size_t goal : goals)
    array.append(jsonOf(past.goals[goal]));
  return array;
}

QJsonArray jsonOfPairs(const past_t &past, const std::vector<pair_t> &pairs) {
  QJsonArray array;
  for (const pair_t &pair : pairs) {
    QJsonObject object = named(past, pair.before->driver, pair.before->goal);
    object["old"_s] = pair.before->wall;
    object["new"_s] = pair.after->wall;
    array.append(object);
  }
  return array;
}

void addPairs(Table &table, const past_t &past, const cell_t &word,
              const std::vector<pair_t> &pairs) {
  for (const pair_t &pair : pairs)
    table.add({word, nameOf(past.goals[pair.before->goal]),
               nameOf(past.drivers[pair.before->driver]), textOfSeconds(pair.before->wall), "->"_s,
               textOfSeconds(pair.after->wall)});
}

} // namespace

int commands::flaky(const options_t &options) {
  const auto past = readHistory(options);
  if (!past)
    return EXIT_REFUSED;
  QJsonArray array;
  Table table("llll");
  for (const flaky_t &flaky : flakyOnes(*past)) {
    const bool isUnsteady = flaky.outcomes.size() > 1;
    const QStringList names = outcomeNames(flaky.outcomes);
    QJsonObject object = named(*past, flaky.driver, flaky.goal);
    object["verdicts"_s] = QJsonArray::fromStringList(names);
    object["prover"_s] = flaky.nearLimit ? QJsonValue(flaky.nearLimit->prover) : QJsonValue();
    object["timeLimit"_s] =
        flaky.nearLimit ? QJsonValue(*flaky.nearLimit->timeLimit) : QJsonValue();
    array.append(object);
    table.add({nameOf(past->goals[flaky.goal]),
               nameOf(past->drivers[flaky.driver]),
               {isUnsteady ? names.join(", "_s) : QString(), "33"},
               nearText(flaky.nearLimit)});
  }
  const int status = array.isEmpty() ? EXIT_DONE : EXIT_FOUND;
  if (options.json)
    return finishJson("flaky", options.file(), {{"flaky"_s, array}}, status);
  const QString summary = "%1 in %2\n"_s.arg(counted(array.size(), "flaky verdict"),
                                             counted(static_cast<int>(past->runs.size()), "run"));
  return finish((table.text() + summary).toUtf8(), status);
}

int commands::compare(const options_t &options) {
  const auto past = readHistory(options);
  if (!past)
    return EXIT_REFUSED;
  const auto before = runNumbered(*past, options.runs[0], options);
  const auto after = before ? runNumbered(*past, options.runs[1], options) : std::nullopt;
  if (!after)
    return EXIT_REFUSED;
  const comparison_t found = compareRuns(*past, *before, *after);
  const int status = found.lost.empty() ? EXIT_DONE : EXIT_FOUND;
  if (options.json)
    return finishJson("compare", options.file(),
                      {{"runs"_s, QJsonArray{options.runs[0], options.runs[1]}},
                       {"common"_s, found.common},
                       {"old"_s, found.wallBefore},
                       {"new"_s, found.wallAfter},
                       {"slower"_s, jsonOfPairs(*past, found.slower)},
                       {"faster"_s, jsonOfPairs(*past, found.faster)},
                       {"lost"_s, jsonOfNames(*past, found.lost)},
                       {"gained"_s, jsonOfNames(*past, found.gained)}},
                      status);
  Table table("lllrlr");
  for (const std::size_t goal : found.lost)
    table.add({{"lost"_s, "1;31"}, nameOf(past->goals[goal])});
  for (const std::size_t goal : found.gained)
    table.add({{"gained"_s, "32"}, nameOf(past->goals[goal])});
  addPairs(table, *past, {"slower"_s, "33"}, found.slower);
  addPairs(table, *past, {"faster"_s, "36"}, found.faster);
  const QString summary = "%1 lost, %2 gained, %3 slower, %4 faster; what both runs played took "
                          "%5 s, then %6 s\n"_s.arg(found.lost.size())
                              .arg(found.gained.size())
                              .arg(found.slower.size())
                              .arg(found.faster.size())
                              .arg(textOfSeconds(found.wallBefore), textOfSeconds(found.wallAfter));
  return finish((table.text() + summary).toUtf8(), status);
}
