// The goals as records: what list-like commands and the reports look at, read off the document
// once. Statuses are taken as they stand; whether they follow from the parts is another command's
// matter.

#include "Goals.h"

#include "Commands.h"
#include "Options.h"
#include "Output.h"
#include "text/Literals.h"

#include <QDomDocument>
#include <QJsonObject>
#include <QRegExp>

#include <algorithm>

using namespace kelvarune;

namespace {

bool isProof(pos::status_t status) {
  return status == pos::PROVED || status == pos::UNRELIABLY_PROVED;
}

// Sorts the drivers of one mechanism into the goal's lists. Those that prove the goal for good go
// to `provers`; a mechanism that does so without a driver that says it gives one that has no name.
void addMechanism(const QDomElement &mechanism, goal_t &goal,
                  std::vector<std::optional<driver_name_t>> &provers) {
  const pos::status_t verdict = pos::statusOf(mechanism);
  const std::size_t before = provers.size();
  for (const QDomElement &driver : xml::children(mechanism, pos::TAG_DRIVER)) {
    const pos::status_t status = pos::statusOf(driver);
    if (!isProof(status))
      continue;
    const driver_name_t name = {mechanism.attribute(pos::ATTR_NAME),
                                driver.attribute(pos::ATTR_NAME)};
    (isProof(verdict) ? goal.provedBy : goal.uncountedProofs).push_back(name);
    if (verdict == pos::PROVED && status == pos::PROVED)
      provers.push_back(name);
  }
  if (verdict == pos::PROVED && provers.size() == before)
    provers.push_back(std::nullopt);
}

goal_t goalOf(const QDomElement &element, const place_t &place) {
  goal_t goal;
  goal.place = place;
  goal.status = pos::statusOf(element);
  goal.proofState = pos::proofStateOf(element, pos::ATTR_VALUE_UNPROVED);
  goal.provedByItself = pos::isProvedProofState(goal.proofState);
  std::vector<std::optional<driver_name_t>> provers;
  for (const QDomElement &mechanism : xml::children(element, pos::TAG_MECHANISM))
    addMechanism(mechanism, goal, provers);
  if (goal.status == pos::PROVED && !goal.provedByItself && provers.size() == 1)
    goal.onlyProver = provers.front();
  return goal;
}

std::vector<goal_t> selected(std::vector<goal_t> goals, const options_t &options) {
  const QRegExp glob(options.tagGlob, Qt::CaseSensitive, QRegExp::WildcardUnix);
  const auto isUnwanted = [&options, &glob](const goal_t &goal) {
    return (!options.statuses.empty() && options.statuses.count(goal.status) == 0) ||
           (!options.tagGlob.isEmpty() && !glob.exactMatch(goal.place.tag));
  };
  goals.erase(std::remove_if(goals.begin(), goals.end(), isUnwanted), goals.end());
  return goals;
}

QByteArray csvOf(const std::vector<goal_t> &goals) {
  const QString separator = "; "_s;
  QByteArray bytes = csvRecord("tag,number,obligation,status,proof_state,proved_by,"
                               "uncounted_proofs,proved_by_one_driver"_s.split(QLatin1Char(',')));
  for (const goal_t &goal : goals)
    bytes += csvRecord({goal.place.tag, QString::number(goal.place.number),
                        QString::number(goal.place.obligation), pos::strOfProofStatus(goal.status),
                        goal.proofState, namesOf(goal.provedBy, separator),
                        namesOf(goal.uncountedProofs, separator), goal.onlyProver ? "1"_s : "0"_s});
  return bytes;
}

QJsonArray jsonOf(const std::vector<goal_t> &goals) {
  QJsonArray array;
  for (const goal_t &goal : goals) {
    QJsonObject object = jsonOf(goal.place);
    object["status"_s] = pos::strOfProofStatus(goal.status);
    object["proofState"_s] = goal.proofState;
    object["provedBy"_s] = jsonOf(goal.provedBy);
    object["uncountedProofs"_s] = jsonOf(goal.uncountedProofs);
    object["provedByOneDriver"_s] = goal.onlyProver.has_value();
    array.append(object);
  }
  return array;
}

} // namespace

QString driver_name_t::text() const {
  return shown(mechanism) + QLatin1Char('/') + shown(driver);
}

bool readGoals(const QString &path, std::vector<goal_t> &goals) {
  QDomDocument document;
  if (!readSoundPosDocument(path, use_t::COUNTING, document))
    return false;
  forEachPlacedGoal(document, [&goals](const QDomElement &element, const place_t &place) {
    goals.push_back(goalOf(element, place));
  });
  return true;
}

QString namesOf(const std::vector<driver_name_t> &drivers, const QString &separator) {
  QStringList names;
  for (const driver_name_t &driver : drivers)
    names.append(driver.text());
  return names.join(separator);
}

QString proofsOf(const goal_t &goal) {
  const QString separator = ", "_s;
  QStringList parts;
  if (goal.provedByItself)
    parts.append("own "_s + goal.proofState);
  if (!goal.provedBy.empty())
    parts.append(namesOf(goal.provedBy, separator));
  if (!goal.uncountedProofs.empty())
    parts.append("(not counted: "_s + namesOf(goal.uncountedProofs, separator) + QLatin1Char(')'));
  return parts.join(separator);
}

QJsonObject jsonOf(const place_t &place) {
  return {{"tag"_s, place.tag}, {"number"_s, place.number}, {"obligation"_s, place.obligation}};
}

QJsonArray jsonOf(const std::vector<driver_name_t> &drivers) {
  QJsonArray array;
  for (const driver_name_t &driver : drivers)
    array.append(QJsonObject{{"mechanism"_s, driver.mechanism}, {"driver"_s, driver.driver}});
  return array;
}

int commands::goals(const options_t &options) {
  std::vector<goal_t> all;
  if (!readGoals(options.file(), all))
    return EXIT_REFUSED;
  const std::vector<goal_t> rows = selected(std::move(all), options);
  if (options.csv)
    return finish(csvOf(rows));
  if (options.json)
    return finishJson("goals", options.file(), {{"goals"_s, jsonOf(rows)}});
  Table table("lll");
  for (const goal_t &goal : rows)
    table.add({goal.place.text(), statusCell(goal.status), proofsOf(goal)});
  return finish(table.text().toUtf8());
}
