// A row per goal, for people or for programs.

#include "commands/Commands.h"
#include "commands/Names.h"
#include "commands/Options.h"
#include "files/Reading.h"
#include "model/Goals.h"
#include "output/Json.h"
#include "output/Output.h"
#include "output/Words.h"
#include "text/Literals.h"

#include <algorithm>

using namespace kelvarune;

namespace {

std::vector<goal_t> selected(std::vector<goal_t> goals, const options_t &options) {
  const auto isUnwanted = [&options](const goal_t &goal) {
    return (!options.statuses.empty() && options.statuses.count(goal.status) == 0) ||
           !matchesTag(goal.place, options.tagGlob);
  };
  goals.erase(std::remove_if(goals.begin(), goals.end(), isUnwanted), goals.end());
  return goals;
}

QByteArray csvOf(const std::vector<goal_t> &goals) {
  const QString separator = "; "_s;
  QByteArray bytes =
      csvRecord("tag,number,obligation,status,proof_state,proved_by,"
                "uncounted_proofs,proved_by_one_driver,disproved_by"_s.split(QLatin1Char(',')));
  for (const goal_t &goal : goals)
    bytes += csvRecord({goal.place.tag, QString::number(goal.place.number),
                        QString::number(goal.place.obligation), pos::strOfProofStatus(goal.status),
                        goal.proofState, namesOf(goal.provedBy, separator),
                        namesOf(goal.uncountedProofs, separator), goal.onlyProver ? "1"_s : "0"_s,
                        namesOf(goal.disprovedBy, separator)});
  return bytes;
}

QJsonArray jsonRows(const std::vector<goal_t> &goals) {
  QJsonArray array;
  for (const goal_t &goal : goals)
    array.append(jsonOf(goal));
  return array;
}

} // namespace

int commands::goals(const options_t &options) {
  std::vector<goal_t> all;
  if (!readGoals(options.file(), all))
    return EXIT_REFUSED;
  const std::vector<goal_t> rows = selected(std::move(all), options);
  if (options.csv)
    return finish(csvOf(rows));
  if (options.json)
    return finishJson("goals", options.file(), {{"goals"_s, jsonRows(rows)}});
  Table table("lll");
  for (const goal_t &goal : rows)
    table.add({textOf(goal.place), statusCell(goal.status), proofsOf(goal)});
  return finish(table.text().toUtf8());
}
